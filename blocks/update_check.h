#pragma once

#include "blocks/containers.h"

#include <map>
#include <set>
#include <vector>

class KzDxBlock;
class KzDxBlocks;

/// Self-check of updates, for test builds (`ZELVANE_CHECK_UPDATES`): after a scan, reads everything from
/// the drawing and compares it with what the graph has stored. A difference ends the program with a
/// message.
///
/// Shares no code with the scanner and the reader. Opens objects only for read.
///
///     KzDxUpdateCheck check(graph); // keeps what was stored before
///     ...                           // the scan
///     check.compare();
class KzDxUpdateCheck {
public:
#ifdef ZELVANE_CHECK_UPDATES
    explicit KzDxUpdateCheck(KzDxBlocks& graph);
    void compare();

    /// Turns the check off, for tests that make host calls or allocations fail, or count them.
    class Pause {
    public:
        Pause() { ++pauses_; }
        ~Pause() { --pauses_; }
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;
    };

private:
    using References = std::map<KzDbObjectId, KzDbObjectId>; ///< reference → its container
    struct State {
        References references;
        bool hasChanges = false;
        bool isInitial = false; ///< never read: read also if no record leads to it
    };
    /// What the records of a node report now.
    struct Reading {
        bool isComplete = true; ///< every record could be read
        References placed;
        std::set<KzDbObjectId> reported;
    };

    static References referencesOf(const KzDxBlock& node);
    void walkTable();
    void visit(KzDbObjectId id);
    void compareNode(KzDxBlock& node);
    void compareMark(const KzDxBlock& node, const State& before, const Reading& now);
    void compareNesting();
    [[nodiscard]] Reading read(const KzDxBlock& node);
    void place(Reading& reading, KzDbObjectId reference);
    [[nodiscard]] KzDbObjectId containerOf(KzDbObjectId owner);

    static inline int pauses_ = 0;

    KzDxBlocks& graph_;
    bool isActive_;
    std::map<const KzDxBlock*, State> before_;
    std::set<KzDbObjectId> keysBefore_; ///< a record may be visited before the key of its node is added
    std::vector<KzDbObjectId> layouts_;
    std::map<KzDbObjectId, KzDxBlock*> reached_; ///< by the node's own record
    std::map<KzDbObjectId, KzDbObjectId> translated_;
#else
    explicit KzDxUpdateCheck(KzDxBlocks&) {}
    void compare() {}
    class [[maybe_unused]] Pause {};
#endif
};
