// A series whose runs are laid aside while an operator works on it beside constants.
//
// An operator that takes a value and one that repeats it for ever walks where the runs of both overlap, and cuts its
// result where the constant has come to the end of its longest run. Without runs each value is worked on once, and the
// result gets the runs of the series as they were.
#pragma once

#include "evaluate/plan.h"

namespace qvo::value {

class RunsApart {
 public:
    RunsApart(Plan& plan, const Series& series);

    /// The values of the series, each at one position.
    const Series& values() const { return values_; }
    /// A series with a value for each of them, at the positions of the values that they were made of.
    Series with_runs(const Series& results) const;

 private:
    class Values;
    class Results;
    Plan& plan_;
    Series series_, values_;
    Values* source_;
};

}  // namespace qvo::value
