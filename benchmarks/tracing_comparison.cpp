#include "benchmarks/comparisons.h"
#include "benchmarks/drawings.h"
#include "headless/edits.h"
#include "headless/trace.h"

namespace Bench {

namespace {

/// Counts the events of an edit.
class EventCount final : public Headless::TraceListener {
public:
    void begins(const Headless::TraceEvent& /*event*/) override { ++events; }
    void gives(const Headless::TraceDetail& /*result*/) override {}
    void ends() override {}

    int events = 0;
};

/// What the places at which an edit would be traced take while nobody traces, over the whole edit: a text
/// that is set, which nobody hears. They run in a loop of their own, where nothing else happens meanwhile.
class UntracedOverEdit : public TimedComparison {
public:
    UntracedOverEdit() {
        const KzDbObjectId block = Headless::makeBlock(document_.get(), u"Block");
        reference_ = Headless::insert(document_.modelSpace(), block, {{u"TAG", u"text"}});
        EventCount count;
        Headless::traceTo(&count);
        edit();
        Headless::traceTo(nullptr);
        require(count.events != 0, "an edit is traced");
        events_ = count.events;
    }

protected:
    double ours() override {
        const double seconds = secondsOf([this] {
            for (int at = 0; at < edits * events_; ++at) {
                const Headless::TraceScope scope([]() -> Headless::TraceEvent { return {}; });
            }
        });
        return seconds / edits;
    }
    double other() override {
        const double seconds = secondsOf([this] {
            for (int at = 0; at < edits; ++at) edit();
        });
        return seconds / edits;
    }

private:
    static constexpr int edits = 200'000;

    void edit() {
        require(static_cast<bool>(Headless::setAttribute(reference_, u"TAG", u"text")), "the text is set");
    }

    OpenDocument document_;
    KzDbObjectId reference_;
    int events_ = 0;
};

} // namespace

Made untracedOverEdit(std::size_t /*size*/) {
    return std::make_unique<UntracedOverEdit>();
}

} // namespace Bench
