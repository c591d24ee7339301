// The prompt of kzhost on a terminal: what it prints, completes and remembers, and that no error and no
// Ctrl-C ends it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <utility>

using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::Not;

namespace {

class Prompt : public testing::Test {
public:
    Prompt() { start(); }
    Prompt(const Prompt&) = delete;
    Prompt& operator=(const Prompt&) = delete;
    ~Prompt() override {
        hangUp();
        std::filesystem::remove_all(stateFolder);
    }

protected:
    const std::string stateFolder = testing::TempDir() + "kzhost_state." + std::to_string(getpid());

    /// Begins a session, without a locale of the user's. A former one has been left.
    void start(const char* option = nullptr) {
        child_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
        if (child_ != 0) return;
        setenv("TERM", "xterm", 1);
        setenv("LC_ALL", "C", 1);
        setenv("XDG_STATE_HOME", stateFolder.c_str(), 1);
        execl(KZHOST, KZHOST, option, nullptr);
        _exit(127);
    }

    /// What the terminal shows for some lines. They are waited for by a line of our own, and not by the
    /// prompt's sign, which says nothing of how far the reading has come.
    std::string type(const std::string& lines) {
        ++typed_;
        send(lines + question());
        return readUntil(answer());
    }
    /// The same for keys that go on until they are interrupted; `begun` is what the terminal shows before
    /// that.
    std::string interrupt(const std::string& keys, const std::string& begun) {
        send(keys);
        std::string shown = readUntil(begun);
        shown += readUntil("no such text", milliseconds(100)); // the rest, so that what follows is an answer
        ++typed_;
        // Once is enough for a person. A Ctrl-C that comes before the prompt waits for keys is skipped,
        // and shows nothing; one that is being worked off takes along what is typed behind it.
        for (int times = 0; times != 60 && !shown.ends_with(answer()); ++times) {
            send("\x03");
            if (!isShownWithin(milliseconds(300))) continue;
            send("\n" + question());
            shown += readUntil(answer(), milliseconds(1000));
        }
        EXPECT_TRUE(shown.ends_with(answer())) << "the prompt has not come back: " << shown;
        return shown;
    }
    /// Whether Ctrl-C, pressed again and again while the keys are worked off, ends the process.
    bool isEndedByInterrupts(const std::string& keys, const std::string& begun) {
        send(keys);
        readUntil(begun);
        int status = 0;
        for (int times = 0; times != 60 && waitpid(child_, &status, WNOHANG) == 0; ++times) {
            send("\x03");
            std::this_thread::sleep_for(milliseconds(100));
        }
        return WIFSIGNALED(status) && WTERMSIG(status) == SIGINT;
    }
    /// Leaves the prompt by a line of its own: the exit status tells whether it was still there.
    int leave() {
        send("os.exit(7)\n");
        readUntil("no such text");
        hangUp(); // one that has not left ends by that, with another status
        int status = 0;
        waitpid(child_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    void hangUp() {
        if (terminal_ != -1) close(std::exchange(terminal_, -1));
    }
    [[nodiscard]] std::string question() const {
        return "print('typed' .. " + std::to_string(typed_) + ")\n";
    }
    [[nodiscard]] std::string answer() const { return "typed" + std::to_string(typed_); }
    void send(const std::string& keys) {
        EXPECT_EQ(write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    bool isShownWithin(milliseconds time) {
        pollfd waited = {.fd = terminal_, .events = POLLIN, .revents = 0};
        return poll(&waited, 1, static_cast<int>(time.count())) == 1;
    }
    /// Up to a text, to the end of the program, or until nothing more is shown.
    std::string readUntil(const std::string& text, milliseconds patience = milliseconds(60000)) {
        std::string shown;
        char byte = 0;
        while (!shown.ends_with(text) && isShownWithin(patience) && read(terminal_, &byte, 1) == 1)
            shown += byte;
        return shown;
    }

    int terminal_ = -1;
    pid_t child_ = -1;
    int typed_ = 0;
};

TEST_F(Prompt, PrintsValuesAndContinuesAfterErrors) {
    EXPECT_THAT(type("host.open('a'), 'b\\0\\n', {1, c = {2}}\n"),
                HasSubstr("document \"a\"  \"b\\0\\10\"  {1, c = {2}}"));
    EXPECT_THAT(type("'T\u00FCr'\n"), HasSubstr("\"T\u00FCr\"")) << "UTF-8 in and out";
    EXPECT_THAT(type("{['1\\27[0m'] = setmetatable({}, {__tostring = function() return 'own' end})}\n"),
                HasSubstr("{[\"1\\27[0m\"] = own}"));
    EXPECT_THAT(type("host.post(5)\nhost.idle()\n"), HasSubstr("1  0\r\n"));
    EXPECT_THAT(type("x = = 1\n"), HasSubstr("unexpected symbol"));
    EXPECT_THAT(type("error('boom')\n"), AllOf(HasSubstr("boom"), Not(HasSubstr("stack traceback"))));
    EXPECT_THAT(type("traceback()\n"), HasSubstr("stack traceback"));
    type("debug.setmetatable(1, {__tostring = function() error('description') end})\n");
    EXPECT_THAT(type("5\n"), HasSubstr("description"));
    EXPECT_THAT(type("if true then\nreturn 'over two lines' end\n"), HasSubstr("\"over two lines\""));
    EXPECT_EQ(leave(), 7);
}

TEST_F(Prompt, CompletesNamesWithoutRunningMetamethods) {
    type("d = host.open('a') m = host.load()\n");
    EXPECT_THAT(type("#host.docu\t()\n"), HasSubstr("1"));
    EXPECT_THAT(type("d:modelSp\t()\n"), HasSubstr("*Model_Space"));
    EXPECT_THAT(type("m.apiV\t == 0x130000\n"), HasSubstr("true"));
    type("setmetatable(_G, {__index = function() error('no such global') end}) return 1\n");
    type("nothing.at\t\n");
    EXPECT_THAT(type("'still here'\n"), HasSubstr("still here"));
    EXPECT_EQ(leave(), 7);
}

TEST_F(Prompt, CtrlCInterruptsAndKeepsState) {
    type("x = 41\n");
    EXPECT_THAT(interrupt("print('be' .. 'gun') while true do end\n", "begun"), HasSubstr("interrupted"));
    const std::string stubborn =
        "while true do pcall(function() print('be' .. 'gun') while true do end end) end\n";
    EXPECT_THAT(interrupt(stubborn, "begun"), HasSubstr("interrupted")) << "no pcall holds it up";
    const std::string inside = "coroutine.wrap(function() print('be' .. 'gun') while true do end end)()\n";
    EXPECT_THAT(interrupt(inside, "begun"), HasSubstr("interrupted")) << "in a coroutine";
    EXPECT_THAT(interrupt("if error('run all the same') then\n", "...> "), Not(HasSubstr("prompt:")));
    EXPECT_THAT(interrupt("half typed", "half typed"), Not(HasSubstr("prompt:")));
    EXPECT_THAT(type("x + 1\n"), HasSubstr("42"));
    EXPECT_EQ(leave(), 7);
}

TEST_F(Prompt, SecondCtrlCEndsTheProcess) {
    EXPECT_TRUE(
        isEndedByInterrupts("print('be' .. 'gun'); ('a'):rep(1e5):find(('a*'):rep(40) .. 'b')\n", "begun"));
}

TEST_F(Prompt, KeepsHistoryBetweenSessions) {
    constexpr const char* former = "\x1b[A\x1b[A\x1b[A\n"; // above what ends a session and what ends a typing
    type("'first' .. ' line'\n");
    EXPECT_EQ(leave(), 7);
    start();
    EXPECT_THAT(type(former), HasSubstr("\"first line\""));
    EXPECT_EQ(leave(), 7);
    start("--no-history");
    EXPECT_THAT(type(former), Not(HasSubstr("first line")));
    EXPECT_EQ(leave(), 7);
    std::filesystem::remove_all(stateFolder);
    std::ofstream(stateFolder) << "a file where the folder should be";
    start();
    EXPECT_THAT(type("'no' .. ' matter'\n"), AllOf(HasSubstr("no history"), HasSubstr("\"no matter\"")));
    EXPECT_EQ(leave(), 7);
}

} // namespace
