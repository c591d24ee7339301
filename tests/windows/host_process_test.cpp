// The module as it ships, in a process with a window, a message queue, a clock and a loader of the system's
// own. Drawings and documents are the headless host's.

#include "headless/edits.h"
#include "headless/modules.h"
#include "headless/session.h"
#include "host/module_interface.h"
#include "zelvane/zelvane.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <bit>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <utility>

using namespace Headless;

namespace {

namespace fs = std::filesystem;

const fs::path resources = L"ZelvaneRes.dll";
const UINT idleCheck = RegisterWindowMessageW(L"WM_KZDX_IDLE_CHECK");

int called = 0;
int reachedWindow = 0; // idle checks that no filter took
void (*whenCalled)() = nullptr;

void countCall() {
    ++called;
    if (whenCalled != nullptr) whenCalled();
}

LRESULT CALLBACK dispatch(HWND window, UINT number, WPARAM first, LPARAM second) {
    if (number == idleCheck) ++reachedWindow;
    return DefWindowProcW(window, number, first, second);
}

HWND makeWindow() {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = dispatch;
    windowClass.lpszClassName = L"host";
    RegisterClassW(&windowClass);
    return CreateWindowExW(0, L"host", L"Host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 300, 200, nullptr,
                           nullptr, nullptr, nullptr);
}

/// The host's message loop, as far as messages are waiting.
void runLoop() {
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0;) {
        if (!callFilters(std::bit_cast<KzPlatform::Message>(message))) DispatchMessageW(&message);
    }
}

/// Waits for a message box, reads its text and presses its button.
void answerBox(std::wstring& text) {
    for (int tries = 0; tries < 1000; ++tries, Sleep(10)) {
        const HWND box = FindWindowW(L"#32770", nullptr);
        const HWND label = box != nullptr ? GetDlgItem(box, 0xFFFF) : nullptr;
        if (label == nullptr) continue;
        text.resize(200);
        text.resize(std::size_t(GetWindowTextW(label, text.data(), 200)));
        PostMessageW(box, WM_COMMAND, IDOK, 0);
        return;
    }
}

class HostProcess : public testing::Test {
protected:
    HostProcess() : document(openDocument(u"house")) {
        called = 0;
        reachedWindow = 0;
        whenCalled = nullptr;
        load();
    }
    ~HostProcess() override {
        unloadModule(lastModule());
        reset();
        runLoop();
        DestroyWindow(window);
    }

    void load() { ASSERT_EQ(loadModule("Zelvane.hmx", "").answer, KzRx::done); }

    template <class Function>
    Function* exported(const char* name) {
        return reinterpret_cast<Function*>(moduleExport(lastModule(), name));
    }
    void attach(std::uint32_t interval) {
        const auto attach = exported<decltype(kzdxDocTimerAttach)>("kzdxDocTimerAttach");
        ASSERT_EQ(attach(document, countCall, interval, 1), 1);
    }
    void comeToRest() { reportLockMode(document, u"#rest"); }
    int callsAtRest() {
        comeToRest();
        runLoop();
        return std::exchange(called, 0);
    }

    HWND window = makeWindow();
    KzApDocument* document;
};

TEST_F(HostProcess, CallsByRealMessagesAndTicks) {
    constexpr std::uint32_t hour = 3600000;
    attach(hour);
    EXPECT_EQ(callsAtRest(), 0) << "the interval has only begun";
    attach(50);
    Sleep(60);
    EXPECT_EQ(callsAtRest(), 1);
    attach(hour);
    EXPECT_EQ(callsAtRest(), 0);
    EXPECT_EQ(reachedWindow, 0) << "the filter takes them out";
}

TEST_F(HostProcess, WaitsWhileInputIsWaiting) {
    attach(0);
    SetForegroundWindow(window);
    runLoop();
    comeToRest();
    keybd_event('A', 0, 0, 0);
    keybd_event('A', 0, KEYEVENTF_KEYUP, 0);
    ASSERT_NE(GetInputState(), 0);
    for (MSG message; PeekMessageW(&message, nullptr, idleCheck, idleCheck, PM_REMOVE) != 0;)
        EXPECT_TRUE(callFilters(std::bit_cast<KzPlatform::Message>(message)));
    EXPECT_EQ(called, 0);
    runLoop();
    EXPECT_EQ(callsAtRest(), 1);
}

TEST_F(HostProcess, OtherWindowsGetNoMessages) {
    attach(0);
    const HWND dialog = CreateWindowExW(0, L"host", L"Dialog", WS_POPUP | WS_VISIBLE, 0, 0, 9, 9, window,
                                        nullptr, nullptr, nullptr);
    ShowWindow(window, SW_HIDE);
    EXPECT_EQ(callsAtRest(), 0) << "there is no main window";
    ShowWindow(window, SW_SHOW);
    EXPECT_EQ(callsAtRest(), 1);
    DestroyWindow(dialog);
}

TEST_F(HostProcess, MessageAfterUnloadReachesTheWindow) {
    attach(0);
    comeToRest();
    EXPECT_EQ(unloadModule(lastModule()), KzRx::done);
    runLoop();
    EXPECT_EQ(called, 0);
    EXPECT_EQ(reachedWindow, 1);
}

TEST_F(HostProcess, CallbackMayUnloadTheModule) {
    attach(0);
    whenCalled = [] { EXPECT_EQ(unloadModule(lastModule()), KzRx::done); };
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(callsAtRest(), 1);
        ASSERT_EQ(GetModuleHandleW(L"Zelvane.hmx"), nullptr);
        ASSERT_EQ(GetModuleHandleW(resources.c_str()), nullptr);
        load();
        attach(0);
    }
}

TEST_F(HostProcess, WithoutResourcesReportsAndRefuses) {
    EXPECT_EQ(unloadModule(lastModule()), KzRx::done);
    fs::rename(resources, L"hidden.dll");
    std::wstring text;
    std::thread user(answerBox, std::ref(text));
    const LoadResult loaded = loadModule("Zelvane.hmx", "");
    user.join();
    fs::rename(L"hidden.dll", resources);
    EXPECT_EQ(loaded.answer, KzRx::loadFailed);
    EXPECT_EQ(text, L"Unable to load resource DLL: ZelvaneRes.dll");
    EXPECT_TRUE(services().empty());
}

TEST_F(HostProcess, ResourcesDescribeTheModule) {
    const HMODULE library = LoadLibraryW(resources.c_str());
    wchar_t text[100];
    EXPECT_GT(LoadStringW(library, 1, text, 100), 0);
    EXPECT_STREQ(text, L"Unable to load resource DLL: %s");
    FreeLibrary(library);
    EXPECT_GT(GetFileVersionInfoSizeW(resources.c_str(), nullptr), 0U);
}

TEST_F(HostProcess, ReadsTemplatesByAnyPath) {
    const std::string example(
        "\1\0\0\0\1\0\377\377\1\0\16\0CEattBlockInfo\377\376\377\1A\0\1\0\0\0\0\0\0\0\0", 41);
    const std::wstring folder = fs::current_path().native() + LR"(\templates)";
    const std::wstring longName(200, L'l');
    const std::wstring notLatin = folder + L"\\\x95E8\x7A97";
    const std::wstring beyond260 = LR"(\\?\)" + folder + L'\\' + longName + L'\\' + longName;
    for (const std::wstring& each : {notLatin, beyond260}) {
        fs::create_directories(each);
        std::ofstream(fs::path(each) / "doors.tpl", std::ios::binary) << example;
    }
    // Half a surrogate pair in a name that the system takes out of the path again: Wine makes no such file.
    for (const std::wstring& each : {notLatin, beyond260, notLatin + L"\\half \xD800 pair\\.."}) {
        std::vector<std::u16string> blocks;
        std::vector<std::u16string> attributes;
        const std::wstring path = each + L"\\doors.tpl";
        exported<decltype(kzdxReadLegacyBlkTemplate)>("kzdxReadLegacyBlkTemplate")(
            std::u16string(path.begin(), path.end()), blocks, attributes);
        EXPECT_EQ(blocks, std::vector<std::u16string>{u"A"});
    }
}

} // namespace
