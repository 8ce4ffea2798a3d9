#include "functions/catalog.h"

#include <algorithm>
#include <array>

namespace qvo::value {
namespace {

/// All functions, without memory that could be lacking: hosts ask before there is anybody to tell of an error.
struct List {
    std::array<const Function*, 160> functions{};
    size_t n = 0;
};

}  // namespace

std::span<const Function* const> catalog() {
    static const List all = [] {
        List list;
        for (const std::span<const Function> table :
             {make_functions(), arithmetic_functions(), choosing_functions(), comparison_functions(), text_functions(),
              calendar_functions(), along_functions(), window_functions(), select_functions(), aggregate_functions(),
              extremum_functions(), pair_functions(), order_statistic_functions(), group_functions(), state_functions(),
              time_functions()})
            for (const Function& function : table) list.functions.at(list.n++) = &function;
        return list;
    }();
    return {all.functions.data(), all.n};
}

const Function* find_function(std::string_view name) {
    const auto all = catalog();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Function* f) { return f->name == name; });
    return found == all.end() ? nullptr : *found;
}

}  // namespace qvo::value
