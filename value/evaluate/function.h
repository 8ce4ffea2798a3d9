// What the catalog says of a function. A host registers, documents and calls a function from its entry alone.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string_view>

#include "evaluate/datum.h"
#include "evaluate/plan.h"

namespace qvo::value {

/// What a parameter accepts.
enum class Takes : uint8_t {
    sequence,  // a sequence
    operand,   // a sequence, or a scalar that stands for a constant one
    scalar,    // an integer, a real or text
    integer,   // within lowest .. highest
    real,      // an integer or a real, but not NaN
    text,
    bytes,     // any bytes, not looked at beforehand
    nullable,  // anything, NULL too, which otherwise makes the result NULL
};

/// Which sequences a parameter accepts.
enum class Of : uint8_t { any, number, ordered_number, floating, integer, boolean, timestamp, text };

struct Parameter {
    std::string_view name;
    Takes takes = Takes::sequence;
    Of of = Of::any;
    int64_t lowest = std::numeric_limits<int64_t>::min();
    int64_t highest = std::numeric_limits<int64_t>::max();
    bool optional = false;
};

struct Function;
class Arguments;

class StateReader;

/// The running state of an aggregate over rows.
class Aggregate {
 public:
    virtual ~Aggregate() = default;
    /// Folds in a row.
    virtual void step(Arguments& row) = 0;
    /// Folds in rows of n arguments each before these are checked, as many as it can tell at a glance to be like the row
    /// before, and returns how many. For aggregates that see a row for every value.
    virtual size_t step_alike([[maybe_unused]] std::span<const Argument> rows, [[maybe_unused]] size_t n) { return 0; }
    /// The result so far. May be asked for more than once.
    virtual void finish(Result& result, const Limits& limits) const = 0;
    /// Writes the state, and folds in a state that was written: of the same function, checked by the caller. What is
    /// read is not trusted.
    virtual void save(Buffer& to) const = 0;
    virtual void merge(StateReader& in) = 0;
};

/// The rows of a table function.
class Rows {
 public:
    virtual ~Rows() = default;
    /// Moves to the next row, at first to the first one; false after the last.
    virtual bool next() = 0;
    virtual void column(unsigned index, Result& result) = 0;
    /// Restricts the rows to positions first .. last, before the first `next`. Optional to heed.
    virtual void limit(uint64_t first, uint64_t last) = 0;
};

enum class Kind : uint8_t { scalar, aggregate, table };

/// The tables of the reference.
enum class Group : uint8_t { make, element_wise, along, select, aggregates, time };

inline constexpr size_t max_parameters = 9;

struct Function {
    std::string_view name;  // in SQL with the prefix seq_
    Group group;
    Kind kind = Kind::scalar;
    bool has_state = false;                     // of an aggregate: that its state can be saved and merged
    bool in_order = false;                      // of an aggregate: that its result depends on the order of the rows
    std::string_view summary;                   // one line
    Parameter parameters[max_parameters] = {};  // up to the first without a name
    bool repeats = false;                       // the last parameter may come again, up to the most there are
    std::string_view result;                    // the type, in words
    std::string_view rule;                      // the exact rule
    struct {
        std::string_view
            call;  // `rolling_mean([1, 2, 4], 2)`; [...] stands for a sequence, int4[...] for one of a type
        std::string_view result;  // its text: JSON for a sequence, NULL for none
    } example;
    std::string_view columns = {};  // of a table: names separated by blanks
    std::string_view python = {};   // how Python spells it, if not by its name

    // How it is computed: a sequence from iterators; anything else from the arguments; the state of an aggregate (by the
    // function's own entry, for those that share one); the rows of a table.
    Series (*build)(Plan& plan, Arguments& arguments) = nullptr;
    void (*compute)(Arguments& arguments, Result& result) = nullptr;
    std::unique_ptr<Aggregate> (*aggregate)(const Function& function) = nullptr;
    std::unique_ptr<Rows> (*rows)(Arguments& arguments) = nullptr;

    size_t n_parameters() const;  // as written
    size_t fewest() const;        // arguments
    size_t most() const;
    /// Whether it takes so many arguments.
    bool takes(size_t n) const {
        if (n > max_parameters) return false;
        const bool more = n < max_parameters && !parameters[n].name.empty() && !parameters[n].optional;
        return !more && (repeats || n == 0 || !parameters[n - 1].name.empty());
    }
};

/// The catalog: the functions of one table of the reference, then all of them. Defined in functions/.
std::span<const Function* const> catalog();
const Function* find_function(std::string_view name);

}  // namespace qvo::value
