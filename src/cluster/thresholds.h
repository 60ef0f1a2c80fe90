// The thresholds that a search tries one after the other.
#pragma once

namespace tervolanda {

// start, start + step, (start + step) + step, ...: each value is the rounded sum of the one before
// and the step, so that the values are not those of start + k * step.  The last value is the first
// one that is not below `most`, or from which the step leads no higher (0, negative, too small).
class ThresholdSequence {
 public:
    ThresholdSequence(double start, double most, double step)
        : value_(start), most_(most), step_(step) {}

    double value() const { return value_; }
    bool isLast() const { return !(value_ < most_) || !(value_ + step_ > value_); }
    // REQUIRES: !isLast()
    void advance() { value_ += step_; }
    // Goes on to the first value of at least `enough`, or to the last one.  The time does not
    // depend on the number of values passed, and the value has the bits that as many single steps
    // would have given it.
    void advanceTo(double enough);

 private:
    double stepsOfOneSize(double rise, double enough) const;

    double value_;
    double most_;
    double step_;
};

}  // namespace tervolanda
