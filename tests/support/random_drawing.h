#pragma once

// Drawings made and edited at random, the same ones for the same seed: a main document and another one
// attached to it, with nested blocks, attributes, an enhanced block with representations on both sides of it
// in the table, erased objects, and objects that are held open.

#include "headless/edits.h"
#include "headless/inspection.h"
#include "headless/session.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

class RandomDrawing {
public:
    /// One edit, whatever the values are: what is done, to which objects, and how.
    struct Edit {
        std::uint8_t kind = 0;
        std::uint8_t first = 0;
        std::uint8_t second = 0;
        std::uint8_t how = 0;
    };

    explicit RandomDrawing(unsigned seed);

    /// Makes an edit in one of both drawings; not every edit is possible at any time.
    void apply(const Edit& edit);

    /// Makes edits of every kind, in both drawings.
    void edit(int count);

    /// Makes an edit of which no record of the main drawing tells.
    void editQuietly();

    /// Lets go of everything that edits hold open.
    void releaseHold();

    KzApDocument* document;
    KzApDocument* attached;

    /// The records, references and attributes made so far that are still in memory.
    [[nodiscard]] std::vector<KzDbObjectId> objects() const;

private:
    using Ids = std::vector<KzDbObjectId>;

    [[nodiscard]] Edit any();
    void makeBlocks(KzApDocument* owner, const std::u16string& prefix);
    void makeEnhancedBlock();
    void makeFurtherBlock(std::uint8_t how);
    void attachDrawing(const std::u16string& name);
    void renameBlock(KzDbObjectId record);
    void addRepresentation(KzDbObjectId block, KzDbObjectId other);
    void insertSomewhere(const Edit& edit);
    void moveOrCopy(KzDbObjectId reference, KzDbObjectId record, std::uint8_t how);
    void eraseOrBack(KzDbObjectId object);
    void holdForAWhile(KzDbObjectId object);
    static void add(KzDbObjectId made, Ids& to);
    /// The next name that begins so.
    [[nodiscard]] std::u16string newName(const std::u16string& prefix);

    std::mt19937 random_;
    unsigned names_ = 0;
    Ids records_;
    Ids references_;
    Ids held_;
};
