#pragma once

#include <limits>

namespace Bench {

/// Both sides of one comparison, in the same unit: a lower ratio is better for us.
struct Sample {
    double ours = 0;
    double other = 0;
    double seconds = 0; ///< how long our side took; for the tables
};

/// Something that is measured against something else, on data that it makes and keeps.
class Comparison {
public:
    Comparison() = default;
    Comparison(const Comparison&) = delete;
    Comparison& operator=(const Comparison&) = delete;
    virtual ~Comparison() = default;

    /// One repetition.
    [[nodiscard]] virtual Sample measure() = 0;
};

/// Compares two times. A repetition runs both sides by turns and keeps the shortest time of each, because
/// whatever else the machine does can only make a run longer.
class TimedComparison : public Comparison {
public:
    [[nodiscard]] Sample measure() override;

protected:
    /// One run, in seconds per unit of work. What has to be made before or put back after it is not counted.
    [[nodiscard]] virtual double ours() = 0;
    [[nodiscard]] virtual double other() = 0;

    /// How many units of work our side does in a run.
    [[nodiscard]] virtual double unitsOfWork() const { return 1; }
};

/// A time that is compared with nothing.
class TimedAlone : public TimedComparison {
protected:
    [[nodiscard]] double other() override { return std::numeric_limits<double>::infinity(); }
};

/// The processor time that this thread has used so far, in seconds. Unlike the time on the wall it stands
/// still while other programs have the processor.
[[nodiscard]] double secondsUsed();

/// How much processor time `work` takes, in seconds. Everything measured is one thread that waits for
/// nothing.
template <class Work>
[[nodiscard]] double secondsOf(Work&& work) {
    const double begin = secondsUsed();
    work();
    return secondsUsed() - begin;
}

[[noreturn]] void endBecause(const char* failure);

/// Ends the program when a measured thing did not do what it is measured for.
inline void require(bool condition, const char* fact) {
    if (!condition) endBecause(fact);
}

} // namespace Bench
