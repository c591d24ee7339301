#pragma once

// Drawings made and edited at random, the same ones for the same seed: a main document and another one
// attached to it, with nested blocks, attributes, an enhanced block with representations on both sides of it
// in the table, erased objects, and objects that somebody holds open.

#include "headless/edits.h"
#include "headless/session.h"

#include <random>
#include <string>
#include <vector>

class RandomDrawing {
public:
    explicit RandomDrawing(unsigned seed);

    /// Makes edits of every kind, in both drawings.
    void edit(int count);

    /// Lets go of everything that `edit` holds open.
    void letGo();

    KzApDocument* document;
    KzApDocument* attached;

    /// The records, references and attributes made so far that are still in memory.
    [[nodiscard]] std::vector<KzDbObjectId> objects() const;

private:
    void editOnce();
    void makeBlocks(KzApDocument* owner, const std::u16string& prefix);
    void makeEnhancedBlock();
    void insertSomewhere();
    void moveOrCopy(KzDbObjectId reference);
    void eraseOrBack(KzDbObjectId object);
    void holdForAWhile(KzDbObjectId object);
    void add(KzDbObjectId made, std::vector<KzDbObjectId>& to);
    [[nodiscard]] KzDbObjectId any(const std::vector<KzDbObjectId>& ids);
    [[nodiscard]] int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

    std::mt19937 random_;
    std::vector<KzDbObjectId> records_;
    std::vector<KzDbObjectId> references_;
    std::vector<KzDbObjectId> held_;
};
