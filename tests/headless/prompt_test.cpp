// The prompt of kzhost on a terminal: what it prints and completes, and that no error ends it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

using testing::HasSubstr;

namespace {

class Prompt : public testing::Test {
public:
    Prompt() {
        child_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
        if (child_ != 0) return;
        setenv("TERM", "xterm", 1);
        execl(KZHOST, KZHOST, nullptr);
        _exit(127);
    }
    Prompt(const Prompt&) = delete;
    Prompt& operator=(const Prompt&) = delete;
    ~Prompt() override { close(terminal_); }

protected:
    /// What the terminal shows for some lines. They are waited for by a line of our own, and not by the
    /// prompt's sign, which says nothing of how far the reading has come.
    std::string type(const std::string& lines) {
        const std::string number = std::to_string(++typed_);
        send(lines + "print('typed' .. " + number + ")\n");
        return readUntil("typed" + number);
    }
    /// Leaves the prompt by a line of its own: the exit status tells whether it was still there.
    int leave() {
        send("os.exit(7)\n");
        readUntil("no such text");
        int status = 0;
        waitpid(child_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    void send(const std::string& keys) {
        EXPECT_EQ(write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    /// Up to a text or to the end of the program.
    std::string readUntil(const std::string& text) {
        std::string shown;
        char byte = 0;
        while (!shown.ends_with(text) && read(terminal_, &byte, 1) == 1) shown += byte;
        return shown;
    }

    int terminal_ = -1;
    pid_t child_ = -1;
    int typed_ = 0;
};

TEST_F(Prompt, PrintsValuesAndGoesOnAfterErrorsOfEveryKind) {
    EXPECT_THAT(type("host.open('a'), 'b\\0\\n', {1, c = {2}}\n"),
                HasSubstr("document \"a\"  \"b\\0\\10\"  {1, c = {2}}"));
    EXPECT_THAT(type("x = = 1\n"), HasSubstr("unexpected symbol"));
    EXPECT_THAT(type("error('boom')\n"), HasSubstr("boom"));
    type("debug.setmetatable(1, {__tostring = function() error('description') end})\n");
    EXPECT_THAT(type("5\n"), HasSubstr("description"));
    EXPECT_THAT(type("if true then\nreturn 'over two lines' end\n"), HasSubstr("\"over two lines\""));
    EXPECT_EQ(leave(), 7);
}

TEST_F(Prompt, CompletesNamesOfTheHostOfDocumentsAndOfModules) {
    type("d = host.open('a') m = host.load()\n");
    EXPECT_THAT(type("#host.docu\t()\n"), HasSubstr("1"));
    EXPECT_THAT(type("d:modelSp\t()\n"), HasSubstr("*Model_Space"));
    EXPECT_THAT(type("m.apiV\t == 0x130000\n"), HasSubstr("true"));
    EXPECT_EQ(leave(), 7);
}

TEST_F(Prompt, CompletesWithoutRunningMetamethods) {
    type("setmetatable(_G, {__index = function() error('no such global') end}) return 1\n");
    type("nothing.at\t\n");
    EXPECT_THAT(type("'still here'\n"), HasSubstr("still here"));
    EXPECT_EQ(leave(), 7);
}

} // namespace
