#pragma once

#include "headless/call_list.h"
#include "headless/session.h"
#include "headless/trace.h"
#include "host/editor.h"

#include <deque>
#include <map>
#include <string>
#include <vector>

namespace Headless {

/// The main thread as a module meets it: its message queue with the filters before it, its clock, its window
/// and the boxes that it shows.
class MessageLoop {
public:
    Pumped pump();
    /// Shows a message to the filters. Whether one took it.
    bool isTaken(const KzPlatform::Message& message);
    void post(std::uint32_t number, std::uintptr_t first, std::intptr_t second);
    void clearQueue() { queue_.clear(); }
    [[nodiscard]] KzPlatform::Window window();
    std::uint32_t registerMessage(const std::u16string& name);
    /// Whether a message of that number was registered.
    [[nodiscard]] bool knows(std::uint32_t number) const;

    CallList<KzEdMessageFilter> filters;
    std::vector<ShownBox> boxes;
    std::vector<KzPlatform::Library> libraries; // one entry for each load that was not given back
    std::uint32_t ticks = 0;
    int activeCommands = 0;
    bool isInputWaiting = false;

private:
    static constexpr std::uint32_t firstNumber = 0xC000; // of registered messages

    [[nodiscard]] TraceEvent eventOf(const char* name, const KzPlatform::Message& message) const;

    std::deque<KzPlatform::Message> queue_;
    std::map<std::u16string, std::uint32_t> numbers_;
    char window_ = 0; // its address is the window
};

extern MessageLoop& messageLoop;

/// The folder in which libraries loaded by bare name are looked for first; empty when there is none.
extern std::string& resourceFolder;
/// The libraries that modules asked for and did not get since this was cleared.
extern std::vector<std::string>& librariesNotFound;

/// Resets it to its initial state. Registered message numbers stay: they live as long as the process.
void resetMessageLoop();

} // namespace Headless
