// Expressions: a stored sequence, an array of the caller's, a scalar, or a call of a function over expressions. They are
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

class Expression {
 public:
    using Keep = std::shared_ptr<const void>;  // holds what the bytes belong to

    static std::shared_ptr<const Expression> of_stored(std::span<const uint8_t> bytes, Keep keep);
    static std::shared_ptr<const Expression> of_array(const Array& array, Keep keep);
    static std::shared_ptr<const Expression> of_scalar(const Datum& datum);
    static std::shared_ptr<const Expression> of_call(const Function& function,
                                                     std::vector<std::shared_ptr<const Expression>> arguments);

    bool is_scalar() const { return kind_ == Kind::scalar; }
    const Datum& datum() const { return datum_; }  // of a scalar, and of a stored sequence
    bool is_stored() const { return kind_ == Kind::stored; }

    /// The iterators of a sequence.
    Series build(Plan& plan) const;

 private:
    enum class Kind : uint8_t { stored, array, scalar, call };
    Kind kind_ = Kind::scalar;
    Datum datum_;
    std::string text_;  // what the datum of a text scalar points to
    Array array_;
    Keep keep_;
    unsigned depth_ = 0;  // of calls within calls
    const Function* function_ = nullptr;
    std::vector<std::shared_ptr<const Expression>> arguments_;
};

}  // namespace qvo::value
