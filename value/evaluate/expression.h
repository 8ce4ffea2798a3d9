// Expressions: a stored sequence, an array or runs of the caller's, a scalar, or a call of a function over expressions. They are
// immutable, may be shared, and can be evaluated any number of times; nothing is computed before that.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "evaluate/arguments.h"

namespace qvo::value {

/// An array of values without gaps: somebody else's, or a result.
struct Array {
    ValueType type;
    const void* values = nullptr;
    uint64_t n = 0;
};

/// An array of runs: values[i] stands at the positions from ends[i - 1] (0 before the first) up to, not including, ends[i].
/// Of these the n positions from `first` on are meant.
struct RunArray {
    ValueType type;
    const void* values = nullptr;
    const void* ends = nullptr;
    unsigned end_width = 4;  // 2, 4 or 8 bytes, signed
    uint64_t n_runs = 0;
    uint64_t first = 0, n = 0;

    /// Where run i ends, in positions of the whole array.
    int64_t end(uint64_t i) const;
};

class Expression {
 public:
    using Keep = std::shared_ptr<const void>;  // holds what the bytes belong to

    static std::shared_ptr<const Expression> of_stored(std::span<const uint8_t> bytes, Keep keep);
    static std::shared_ptr<const Expression> of_array(const Array& array, Keep keep);
    /// The runs are looked at: ends that do not ascend, or do not reach as far as is meant, are an error.
    static std::shared_ptr<const Expression> of_runs(const RunArray& runs, Keep keep);
    static std::shared_ptr<const Expression> of_scalar(const Datum& datum);
    /// Its arguments are checked for number, kind and type.
    static std::shared_ptr<const Expression> of_call(const Function& function,
                                                     std::vector<std::shared_ptr<const Expression>> arguments);

    bool is_scalar() const { return kind_ == Kind::scalar; }
    const Datum& datum() const { return datum_; }  // of a scalar, and of a stored sequence
    bool is_stored() const { return kind_ == Kind::stored; }
    const Array* array() const { return kind_ == Kind::array ? &array_ : nullptr; }

    /// The type of a sequence. Types follow from types, so that nothing is read; but where values decide, as the width of
    /// text does, the plan is used to look at them.
    ValueType type(Plan& plan) const;

    /// The iterators of a sequence.
    Series build(Plan& plan) const;

 private:
    enum class Kind : uint8_t { stored, array, runs, scalar, call };
    Series build_source(Plan& plan) const;
    Series build_function(Plan& plan) const;

    Kind kind_ = Kind::scalar;
    Datum datum_;
    std::string text_;  // what the datum of a text scalar points to
    Array array_;
    RunArray runs_;
    ValueType type_;
    bool type_is_known_ = true;
    Keep keep_;
    unsigned depth_ = 0;  // of calls within calls
    const Function* function_ = nullptr;
    std::vector<std::shared_ptr<const Expression>> arguments_;
};

}  // namespace qvo::value
