// "BlockWatch.hmx": prints what changes in the document that is current when it is loaded, with the
// attributes of the references.
//
//     host.load()                   -- Zelvane first: the client uses its exports
//     host.load("BlockWatch.hmx")

#include "zelvane/block_watch.h"
#include "zelvane/client_module.h"

#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace {

/// The container and the attributes of each reference of a block, as text.
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

Texts textsOf(KzDbObjectId block) {
    Texts texts;
    const std::string name = Zelvane::nameOf(block) + ": ";
    for (const KzDbBlockReference& reference : Zelvane::references(block)) {
        texts.emplace(reference.objectId(), name + textOf(reference));
    }
    return texts;
}

/// Exists from the load message to the unload message.
class Reporter : public Zelvane::ClientModule {
public:
    bool load() override {
        KzApDocument* const document = Zelvane::currentDocument();
        const auto report = [this](const Zelvane::BlockChanges& changes) { this->report(changes); };
        const Zelvane::Status status = watch_.attachAll(document, report, {.changedAncestors = true});
        if (status != Zelvane::Status::ok) {
            std::cout << "BlockWatch: not loaded: " << Zelvane::describe(status) << '\n';
            return false;
        }
        const KzDbObjectIdArray blocks = watch_.blocks();
        for (const KzDbObjectId block : blocks) texts_.emplace(block, textsOf(block));
        std::cout << "BlockWatch: watching " << blocks.length() << " blocks\n";
        return true;
    }

private:
    void report(const Zelvane::BlockChanges& changes) {
        bool isChanged = false;
        for (const KzDbObjectId block : changes.affected()) isChanged |= reportTexts(block);
        for (const Zelvane::BlockChange& change : changes) {
            for (const KzDbObjectId ancestor : change.changedAncestors) {
                std::cout << "BlockWatch: " << Zelvane::nameOf(change.block) << ": nested in "
                          << Zelvane::nameOf(ancestor) << '\n';
            }
        }
        if (!isChanged) std::cout << "BlockWatch: edited, but nothing printed here changed\n";
    }

    /// Prints the differences at a block; returns whether there are any.
    bool reportTexts(KzDbObjectId block) {
        Texts now = textsOf(block);
        bool isChanged = false;
        const auto say = [&](auto... words) {
            isChanged = true;
            ((std::cout << "BlockWatch: ") << ... << words) << '\n';
        };
        Texts& before = texts_[block];
        for (const auto& [reference, text] : now) {
            const auto old = before.find(reference);
            if (old == before.end()) {
                say("added ", text);
            } else if (old->second != text) {
                say(old->second, " -> ", text);
            }
        }
        for (const auto& [reference, text] : before) {
            if (!now.contains(reference)) say("removed ", text);
        }
        before = std::move(now);
        return isChanged;
    }

    std::map<KzDbObjectId, Texts> texts_; // by block
    Zelvane::BlockWatch watch_;           // destroyed before the texts that its function prints
};

} // namespace

ZELVANE_CLIENT_MODULE(Reporter)
