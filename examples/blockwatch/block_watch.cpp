// "BlockWatch.hmx": prints what changes in the document that is current when it is loaded, with the
// attributes of the references.
//
//     host.load()                   -- Zelvane first: its exports do the watching
//     host.load("BlockWatch.hmx")

#include "zelvane/block_watch.h"
#include "zelvane/client_module.h"

#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace {

/// The container and the attributes of each reference, readable.
using Texts = std::map<KzDbObjectId, std::string>;

std::string textOf(const KzDbBlockReference& reference) {
    std::string text = "in " + Zelvane::nameOf(reference.ownerId());
    const std::unique_ptr<KzDbObjectIterator> each(reference.attributeIterator());
    for (; each != nullptr && !each->done(); each->step(false, true)) {
        const Zelvane::Opened<KzDbAttribute> attribute(each->objectId());
        if (!attribute) continue;
        text += ", " + Zelvane::utf8(attribute->tag()) + "=" + Zelvane::utf8(attribute->value());
    }
    return text;
}

Texts textsOf(const KzDbObjectIdArray& blocks) {
    Texts texts;
    for (const KzDbObjectId block : blocks) {
        const std::string name = Zelvane::nameOf(block) + ": ";
        for (const KzDbBlockReference& reference : Zelvane::references(block)) {
            texts.emplace(reference.objectId(), name + textOf(reference));
        }
    }
    return texts;
}

/// From the load message to the unload message.
class Reporter : public Zelvane::ClientModule {
public:
    bool load() override {
        KzApDocument* const document = Zelvane::currentDocument();
        const KzDbDatabase* const drawing = Zelvane::drawingOf(document);
        const KzDbObjectIdArray blocks = Zelvane::blockIds(drawing);
        texts_ = textsOf(blocks);
        const Zelvane::Status status = watch_.attach(
            document, blocks, [=, this](const Zelvane::BlockChanges& changes) { report(*drawing, changes); });
        if (status == Zelvane::Status::ok) {
            std::cout << "BlockWatch: watching " << blocks.length() << " blocks\n";
        } else {
            std::cout << "BlockWatch: not loaded, " << Zelvane::describe(status) << '\n';
        }
        return status == Zelvane::Status::ok;
    }

private:
    void report(const KzDbDatabase& drawing, const Zelvane::BlockChanges& changes) {
        const KzDbObjectIdArray blocks = Zelvane::blockIds(&drawing);
        const bool isChanged = reportTexts(textsOf(blocks));
        for (const Zelvane::BlockChange& change : changes) {
            for (const KzDbObjectId around : change.insideChanged) {
                std::cout << "BlockWatch: " << Zelvane::nameOf(change.block) << ": lies in "
                          << Zelvane::nameOf(around) << '\n';
            }
        }
        if (!isChanged) std::cout << "BlockWatch: edited, and all is as it was\n";
        // Blocks that were defined meanwhile are watched from now on; all others are attached already.
        static_cast<void>(watch_.attach(blocks));
    }

    /// Prints what is different now; false when nothing is.
    bool reportTexts(Texts now) {
        const Texts before = std::exchange(texts_, std::move(now));
        bool isChanged = false;
        const auto say = [&](auto... words) {
            isChanged = true;
            ((std::cout << "BlockWatch: ") << ... << words) << '\n';
        };
        for (const auto& [reference, text] : texts_) {
            const auto old = before.find(reference);
            if (old == before.end()) {
                say("came ", text);
            } else if (old->second != text) {
                say(old->second, " -> ", text);
            }
        }
        for (const auto& [reference, text] : before) {
            if (!texts_.contains(reference)) say("went ", text);
        }
        return isChanged;
    }

    Texts texts_;
    Zelvane::BlockWatch watch_; // goes before the texts that its function prints
};

} // namespace

ZELVANE_CLIENT_MODULE(Reporter)
