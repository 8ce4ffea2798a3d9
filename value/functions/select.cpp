// Select and order.
#include "functions/catalog.h"
#include "functions/inputs.h"

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
};

}  // namespace

std::span<const Function> select_functions() { return functions; }

}  // namespace qvo::value
