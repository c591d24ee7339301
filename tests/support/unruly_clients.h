#pragma once

// Clients that do anything in their callbacks, in a host where anything happens.

#include "tests/support/random_drawing.h"
#include "tests/support/test_clients.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

class KzDxBlocks;

/// Whatever the values are, an action is something that may happen at any time. Four bytes stand for one.
struct UnrulyAction {
    std::uint8_t kind = 0;
    std::uint8_t a = 0;
    std::uint8_t b = 0;
    std::uint8_t c = 0;
};

/// What has been done in all runs of the process.
struct UnrulyFigures {
    std::size_t actions = 0;     ///< tried, those from inside callbacks included
    std::size_t inCallbacks = 0; ///< actions from inside callbacks
    std::size_t callbacks = 0;   ///< made by the module
};

/// One run of a list of actions. They are done one after the other from outside, as a user, the host and
/// modules at rest would; and each callback that the module calls does the next ones of the same list from
/// inside. So they nest as deeply as it comes, and end with the list.
class UnrulyClients {
public:
    using Action = UnrulyAction;

    static inline UnrulyFigures figures;

    /// Runs the actions in a host that begins anew. Gives what is wrong; empty when all is well: the module's
    /// graphs equal fresh ones after each outer action in which they were updated, and after its unloading it
    /// has left nothing in the host.
    [[nodiscard]] static std::string run(std::span<const Action> actions);

private:
    explicit UnrulyClients(std::span<const Action> actions);
    [[nodiscard]] std::string runAll();

    // Whose turn it is (unruly_clients.cpp).
    void actOnce();
    void answer(std::size_t count);
    void answerCall(std::size_t client);
    void finish();
    void unloadModule();

    // What an action names.
    [[nodiscard]] KzApDocument* anyDocument(std::uint8_t byte) const;
    [[nodiscard]] static KzDxClientCallback anyClient(std::uint8_t byte);
    [[nodiscard]] static KzDbObjectIdArray anyIds(const KzApDocument* document, std::uint8_t count,
                                                  std::uint8_t first);

    // The actions.
    using Deed = void (UnrulyClients::*)(const Action&);
    static const std::vector<Deed> deeds;
    void editDrawing(const Action& action);
    void attachTimer(const Action& action);
    void detachTimer(const Action& action);
    void attachMonitor(const Action& action);
    void detachMonitor(const Action& action);
    void updateGraph(const Action& action);
    void askForTables(const Action& action);
    void readNoTemplate(const Action& action);
    void openDrawing(const Action& action);
    void openWithoutDrawing(const Action& action);
    void closeDocument(const Action& action);
    void makeCurrent(const Action& action);
    void pump(const Action& action);
    void rest(const Action& action);
    void passTime(const Action& action);
    void runCommand(const Action& action);
    void reportLockMode(const Action& action);
    void postAnything(const Action& action);
    void disturb(const Action& action);
    static void calmDown();
    void load(const Action& action);
    void unload(const Action& action);

    /// Another module that hears of documents: after Zelvane does, and before once that was loaded again.
    class Neighbour final : public KzApDocManagerReactor {
    public:
        explicit Neighbour(UnrulyClients& clients) : clients_(clients) {}
        void documentCreateStarted(KzApDocument* document) override {
            clients_.opened_.push_back(document);
            clients_.answer(1);
        }
        void onDocumentAdded(KzApDocument*) override { clients_.answer(1); }
        void onDocumentRemoving(KzApDocument*) override { clients_.answer(1); }
        void documentDestroyed(const char16_t*) override { clients_.answer(1); }
        void documentBecameCurrent(KzApDocument*) override { clients_.answer(1); }

    private:
        UnrulyClients& clients_;
    };

    std::span<const Action> left_;
    std::string complaint_;
    TestClients clients_;
    Neighbour neighbour_{*this};
    int depth_ = 0;
    std::vector<std::unique_ptr<RandomDrawing>> drawings_;
    std::vector<KzApDocument*> opened_;
    /// What was attached where since the module was loaded, whether or not it was detached: a notification
    /// under way calls whom it has gathered.
    std::set<std::pair<KzApDocument*, KzDxClientCallback>> attached_;
};
