// Select and order.
#include <limits>

#include "functions/catalog.h"
#include "functions/inputs.h"
#include "operators/ordered.h"

namespace qvo::value {
namespace {

#define FILTER(type) qvo_seq_filter_##type
constexpr BinaryMembers filter_members = QVO_VALUE_MEMBERS(FILTER, qvo_seq_filter_char);
#undef FILTER

Series filter(Plan& plan, Arguments& a) {
    const Series x = a.series(0), c = a.series(1);
    const Series both[] = {x, c};
    common_length(both);
    const Series kept = wire(plan, filter_members[static_cast<size_t>(x.type.type)], c, x, x.type, std::nullopt);
    return with_equal_lengths(plan, kept, both);
}

Series positions(Plan& plan, Arguments& a) {
    Series found = wire(plan, qvo_seq_filter_pos, a.series(0), {Type::int8, 8});
    // The operator counts in unsigned numbers; no position is beyond int8.
    found.it->elem_type = QVO_DD_INT8;
    found.length.reset();
    return found;
}

struct MissingUnless {
    template <class V> QVO_INLINE V operator()(V x, uint8_t c) const {
        return c != 0 ? x : std::numeric_limits<V>::quiet_NaN();
    }
};

Series mask(Plan& plan, Arguments& a) {
    const Series x = a.series(0), c = a.series(1);
    if (x.type.type == Type::float_) {
        const Series both[] = {x, c};
        return elementwise<float, float, uint8_t>(plan, x.type, both, MissingUnless{});
    }
    const ValueType type = type_of(Type::double_);
    const Series both[] = {widened(plan, x, type), c};
    return elementwise<double, double, uint8_t>(plan, type, both, MissingUnless{});
}

/// Elements of the first argument, if it is known how many there are.
size_t expected(Arguments& a) { return a.is_directly_stored(0) ? a.stored(0).elements() : 0; }

bool descends(const Arguments& a) {
    if (!a.has(1) || a.text(1) == "asc") return false;
    if (a.text(1) != "desc") a.refuse(1, "order must be 'asc' or 'desc', got " + a.described(1));
    return true;
}

Series take(Plan& plan, Arguments& a) {
    const Series x = a.series(0);
    return taken(plan, x, widened(plan, a.series(1), type_of(Type::int8)), expected(a));
}
Series sort(Plan& plan, Arguments& a) { return sorted(plan, a.series(0), descends(a), expected(a)); }
Series argsort(Plan& plan, Arguments& a) { return sorted_positions(plan, a.series(0), descends(a), expected(a)); }
Series rank(Plan& plan, Arguments& a) { return ranks(plan, a.series(0), expected(a)); }
Series reverse(Plan& plan, Arguments& a) { return reversed(plan, a.series(0), expected(a)); }
Series unique(Plan& plan, Arguments& a) { return different(plan, a.series(0), expected(a)); }
template <bool descending> Series first_sorted(Plan& plan, Arguments& a) {
    return bottom(plan, a.series(0), static_cast<uint64_t>(a.integer(1)), descending);
}

constexpr Parameter order_parameter{"order", Takes::text, Of::any, {}, {}, true};
constexpr Parameter number_of_values{"n", Takes::integer, Of::any, 0};

const Function functions[] = {
    {.name = "filter",
     .group = Group::select,
     .summary = "The values of x where c is true.",
     .parameters = {{"x"}, {"c", Takes::sequence, Of::boolean}},
     .result = "as x",
     .rule = "",
     .example = {"filter([5, 6, 7], [true, false, true])", "[5,7]"},
     .build = filter},
    {.name = "positions",
     .group = Group::select,
     .summary = "The positions at which c is true.",
     .parameters = {{"c", Takes::sequence, Of::boolean}},
     .result = "int8",
     .rule = "Counted from 0.",
     .example = {"positions([true, false, true])", "[0,2]"},
     .build = positions},
    {.name = "take",
     .group = Group::select,
     .summary = "The values of x at the positions in p.",
     .parameters = {{"x"}, {"p", Takes::sequence, Of::integer}},
     .result = "as x",
     .rule = "Positions count from 0, negative ones from the end; one outside x is an error. Holds x in memory.",
     .example = {"take([5, 6, 7], [2, 0, -1])", "[7,5,7]"},
     .build = take},
    {.name = "mask",
     .group = Group::select,
     .summary = "The values of x where c is true, missing where it is false.",
     .parameters = {{"x", Takes::sequence, Of::number}, {"c", Takes::sequence, Of::boolean}},
     .result = "float if x is, else double",
     .rule = "Char and timestamps have no missing value: where(c, x, y) takes another one.",
     .example = {"mask([5, 6, 7], [true, false, true])", "[5.0,null,7.0]"},
     .build = mask},
    {.name = "sort",
     .group = Group::select,
     .summary = "The values in ascending or descending order.",
     .parameters = {{"x"}, order_parameter},
     .result = "as x",
     .rule = "order is 'asc' (the default) or 'desc'. Missing values come last in both; equal values, -0.0 and 0.0 "
             "among them, stay in their order. Text by its bytes. Holds x in memory.",
     .example = {"sort([3, null, 1.5], 'desc')", "[3.0,1.5,null]"},
     .build = sort},
    {.name = "argsort",
     .group = Group::select,
     .summary = "The positions of the values in ascending or descending order.",
     .parameters = {{"x"}, order_parameter},
     .result = "int8",
     .rule = "take(x, argsort(x)) equals sort(x), whose rules hold. Holds x in memory.",
     .example = {"argsort([3, null, 1.5])", "[2,0,1]"},
     .build = argsort},
    {.name = "rank",
     .group = Group::select,
     .summary = "The place of each value in ascending order.",
     .parameters = {{"x"}},
     .result = "double",
     .rule = "Counted from 1; equal values have the mean of their places; a missing value has none. Holds x in memory.",
     .example = {"rank([30, null, 10, 30])", "[2.5,null,1.0,2.5]"},
     .build = rank},
    {.name = "reverse",
     .group = Group::select,
     .summary = "The values from the last to the first.",
     .parameters = {{"x"}},
     .result = "as x",
     .rule = "Holds x in memory.",
     .example = {"reverse([1, 2, 3])", "[3,2,1]"},
     .build = reverse},
    {.name = "unique",
     .group = Group::select,
     .summary = "The different values, in ascending order.",
     .parameters = {{"x"}},
     .result = "as x",
     .rule =
         "Of equal values, such as -0.0 and 0.0, the first. All missing values are one, at the end. Holds x in memory.",
     .example = {"unique([3, null, 1, 3, null])", "[1.0,3.0,null]"},
     .build = unique},
    {.name = "top",
     .group = Group::select,
     .summary = "The n largest values, the largest first.",
     .parameters = {{"x"}, number_of_values},
     .result = "as x",
     .rule = "The first n of sort(x, 'desc'): missing values come if nothing else is left. Holds about twice n values.",
     .example = {"top([3, 1, 2], 2)", "[3,2]"},
     .build = first_sorted<true>},
    {.name = "bottom",
     .group = Group::select,
     .summary = "The n smallest values, the smallest first.",
     .parameters = {{"x"}, number_of_values},
     .result = "as x",
     .rule = "The first n of sort(x): missing values come if nothing else is left. Holds about twice n values.",
     .example = {"bottom([3, 1, 2], 2)", "[1,2]"},
     .build = first_sorted<false>},
};

}  // namespace

std::span<const Function> select_functions() { return functions; }

}  // namespace qvo::value
