#include "benchmarks/drawings.h"
#include "benchmarks/host_calls.h"
#include "benchmarks/lines.h"
#include "blocks/block_graph.h"
#include "frame/application.h"
#include "headless/edits.h"
#include "headless/inspection.h"
#include "headless/session.h"
#include "zelvane/zelvane.h"

#include <array>
#include <memory>
#include <string>

namespace Bench {

namespace {

void enable(KzDxBlocks& graph) {
    require(graph.setEnabled(true) == Orvo::ok, "the graph is enabled");
}

using OwnGraph = std::unique_ptr<KzDxBlocks, KzDxDeferredDeleter>;

/// A graph in addition to the document's.
OwnGraph makeGraph(KzDxDocument& document) {
    KzDxBlocks* graph = nullptr;
    require(KzDxBlocks::create(graph, &document) == Orvo::ok, "the graph is built");
    return OwnGraph(graph);
}

double secondsToUpdate(const OpenDocument& document) {
    return secondsOf([&] { document.graph().update(true, false); });
}

Comparison updateOverFloor(std::size_t references) {
    const auto drawing = std::make_shared<StandardDrawing>(references);
    const auto host = std::make_shared<HostCalls>(drawing);
    enable(drawing->graph());
    return {
        .measured = [=] { return secondsToUpdate(*drawing); },
        .baseline = timed([=] { host->readDrawing(); }),
    };
}

Comparison buildOverFloor(std::size_t references) {
    const auto drawing = std::make_shared<StandardDrawing>(references);
    const auto host = std::make_shared<HostCalls>(drawing);
    return {
        .measured =
            [=] {
                OwnGraph graph;
                return secondsOf([&] { graph = makeGraph(drawing->data()); });
            },
        .baseline = timed([=] { host->readDrawing(); }),
    };
}

double secondsToRegister(HostCalls& host, bool asksOwners) {
    const double seconds = secondsOf([&] { host.registerReactors(asksOwners); });
    host.unregisterReactors();
    return seconds;
}

Comparison enableOverFloor(std::size_t references) {
    const auto drawing = std::make_shared<StandardDrawing>(references);
    const auto host = std::make_shared<HostCalls>(drawing);
    return {
        .measured =
            [=] {
                KzDxBlocks& graph = drawing->graph();
                const double seconds = secondsOf([&] { enable(graph); });
                graph.setEnabled(false);
                return seconds;
            },
        .baseline = [=] { return secondsToRegister(*host, false); },
    };
}

/// The first attach of a client to a document.
Comparison attachOverFloor(std::size_t references) {
    const auto drawing = std::make_shared<StandardDrawing>(references);
    const auto host = std::make_shared<HostCalls>(drawing);
    const auto removeGraph = [=] { KzDxApplication::instance()->removeDocData(drawing->get()); };
    return {
        .measured =
            [=] {
                removeGraph();
                KzDbObjectIdArray watched;
                watched.append(drawing->modelSpace());
                const double seconds = secondsOf([&] {
                    require(kzdxBlockReferenceMonitorAttach(drawing->get(), &watched, [] {}) == 1,
                            "the client is attached");
                });
                removeGraph();
                return seconds;
            },
        .baseline = [=] { return secondsToRegister(*host, true); },
    };
}

/// How often the client that the lines about edits attach was called.
unsigned calls = 0;

/// A client of all blocks, as an edit meets it.
void attachClient(const StandardDrawing& drawing) {
    KzDbObjectIdArray watched;
    for (const KzDbObjectId block : drawing.blocks()) watched.append(block);
    require(kzdxBlockReferenceMonitorAttach(drawing.get(), &watched, [] { ++calls; }) == 1,
            "the client is attached");
}

/// How long an edit takes, with the idle check that processes it.
double secondsToEdit(const auto& edit) {
    const unsigned callsBefore = calls;
    const double seconds = secondsOf([&] {
        edit();
        Headless::idle();
    });
    require(calls == callsBefore + 1, "the client is called once for an edit");
    return seconds;
}

Comparison editOverFloor(std::size_t references) {
    const auto drawing = std::make_shared<StandardDrawing>(references);
    const auto host = std::make_shared<HostCalls>(drawing);
    attachClient(*drawing);
    return {
        .measured =
            [=, inserted = 0U]() mutable {
                const KzDbObjectId block = drawing->blocks()[inserted++ % drawing->blocks().size()];
                return secondsToEdit([&] { Headless::insert(drawing->modelSpace(), block); });
            },
        .baseline =
            [=] {
                host->listReferences(true);
                return secondsOf([&] { host->listReferences(); });
            },
    };
}

Comparison attributeOverFloor(std::size_t references) {
    const auto drawing = std::make_shared<StandardDrawing>(references);
    const auto host = std::make_shared<HostCalls>(drawing);
    attachClient(*drawing);
    // One of the blocks whose first reference has an attribute; except in the smallest drawing, no other
    // block is nested in it.
    const KzDbObjectId block = drawing->blocks().at(drawing->blocks().size() - 10);
    const KzDbObjectId reference = Headless::references(block).front();
    return {
        .measured =
            [=] { return secondsToEdit([&] { Headless::setAttribute(reference, u"NUMBER", u"2"); }); },
        .baseline = timed([=] {
            host->walkTable();
            host->readBlock(block);
        }),
    };
}

Comparison updatePerReference(std::size_t references) {
    const auto large = std::make_shared<StandardDrawing>(references);
    const auto small = std::make_shared<StandardDrawing>(smallSizeFor(references));
    enable(large->graph());
    enable(small->graph());
    return {
        .measured = [=] { return secondsToUpdate(*large) / static_cast<double>(references); },
        .baseline = [=] { return secondsToUpdate(*small) / static_cast<double>(smallSizeFor(references)); },
        .unitsOfWork = static_cast<double>(references),
    };
}

/// A drawing with one block, each reference of which has an attribute.
std::shared_ptr<OpenDocument> makeAttributedDrawing(std::size_t references) {
    auto document = std::make_shared<OpenDocument>();
    const KzDbObjectId block = Headless::makeBlock(document->get(), u"TAGGED");
    for (std::size_t made = 0; made < references; ++made) {
        Headless::insert(document->modelSpace(), block, {{u"NUMBER", u"1"}});
    }
    return document;
}

/// Disabling unregisters from every reference and attribute.
double secondsToDisable(const OpenDocument& document) {
    enable(document.graph());
    return secondsOf([&] { document.graph().setEnabled(false); });
}

Comparison disablePerReference(std::size_t references) {
    const auto large = makeAttributedDrawing(references);
    const auto small = makeAttributedDrawing(smallSizeFor(references));
    return {
        .measured = [=] { return secondsToDisable(*large) / static_cast<double>(references); },
        .baseline = [=] { return secondsToDisable(*small) / static_cast<double>(smallSizeFor(references)); },
        .unitsOfWork = static_cast<double>(references),
    };
}

/// Updates of a drawing to which ten others are attached, and of one that holds what the ten hold.
Comparison attachedOverOwn(std::size_t references) {
    using Attached = std::array<OpenDocument, 10>;
    const auto attached = std::make_shared<Attached>();
    const auto host = std::make_shared<OpenDocument>();
    const auto own = std::make_shared<OpenDocument>();
    char16_t letter = u'a';
    for (const OpenDocument& each : *attached) {
        const std::u16string name{letter++};
        addStandardDrawing(each.get(), references / attached->size());
        addStandardDrawing(own->get(), references / attached->size(), name);
        require(static_cast<bool>(Headless::attach(host->get(), each.get(), name)),
                "the drawing is attached");
    }
    enable(host->graph());
    enable(own->graph());
    return {
        .measured = [attached, host] { return secondsToUpdate(*host); },
        .baseline = [own] { return secondsToUpdate(*own); },
    };
}

Comparison enhancedOverPlain(std::size_t references) {
    constexpr std::size_t referencesPerRepresentation = 100;
    const auto enhanced = std::make_shared<OpenDocument>();
    const auto plain = std::make_shared<OpenDocument>();
    const KzDbObjectId plainBlock = Headless::makeBlock(plain->get(), u"PLAIN");
    const KzDbObjectId enhancedBlock = Headless::makeBlock(enhanced->get(), u"ENHANCED");
    require(static_cast<bool>(Headless::enhance(enhancedBlock)), "the block is enhanced");
    std::vector<KzDbObjectId> records(references / referencesPerRepresentation);
    for (KzDbObjectId& record : records) record = Headless::represent(enhancedBlock);
    // Alternately, so that neither drawing has the better memory layout.
    for (std::size_t made = 0; made < references; ++made) {
        Headless::insert(plain->modelSpace(), plainBlock);
        Headless::insert(enhanced->modelSpace(), records[made % records.size()]);
    }
    enable(enhanced->graph());
    enable(plain->graph());
    return {
        .measured = [=] { return secondsToUpdate(*enhanced); },
        .baseline = [=] { return secondsToUpdate(*plain); },
    };
}

/// Bytes, instead of seconds, of an enabled graph. The host keeps a single reactor of an object inside the
/// object, so its lists of reactors allocate nothing here.
Comparison memoryPerReference(std::size_t references) {
    const auto drawing = std::make_shared<StandardDrawing>(references);
    // What the host and the document data allocate once is there from now on.
    enable(*makeGraph(drawing->data()));
    return {
        .measured =
            [=] {
                const double before = allocatedBytes();
                const OwnGraph graph = makeGraph(drawing->data());
                enable(*graph);
                return (allocatedBytes() - before) / static_cast<double>(references);
            },
        .baseline = [] { return 1.0; },
    };
}

} // namespace

std::vector<Line> updateLines() {
    const std::vector<std::size_t> all{tenThousand, hundredThousand, million};
    return {
        {"update/floor", all, 1.5, updateOverFloor},
        {"build/floor", all, 2.5, buildOverFloor, inMilliseconds("build")},
        {"enable/floor", all, 2, enableOverFloor},
        {"edit/floor", all, 1.6, editOverFloor, inMilliseconds("edit")},
        {"attribute/floor", {tenThousand}, 2.5, attributeOverFloor},
        {"attribute/floor", {hundredThousand, million}, 1.6, attributeOverFloor, inMilliseconds("attribute")},
        {"attach/floor", all, 1.8, attachOverFloor, inMilliseconds("attach")},
        {"update/linear", {million}, 2, updatePerReference},
        {"disable/linear", {hundredThousand}, 4, disablePerReference},
        {"xref/own", {hundredThousand}, 1.5, attachedOverOwn},
        {"representations/linear", {hundredThousand}, 2, enhancedOverPlain},
        {"memory/reference", {million}, 24, memoryPerReference, Figure{"memory", "bytes", 1}},
    };
}

} // namespace Bench
