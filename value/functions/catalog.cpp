#include "functions/catalog.h"

#include <algorithm>
#include <vector>

namespace qvo::value {

std::span<const Function* const> catalog() {
    static const std::vector<const Function*> all = [] {
        std::vector<const Function*> functions;
        for (const std::span<const Function> table :
             {make_functions(), element_wise_functions(), along_functions(), select_functions(), aggregate_functions(),
              pair_functions(), order_statistic_functions(), group_functions(), time_functions()})
            for (const Function& function : table) functions.push_back(&function);
        return functions;
    }();
    return all;
}

const Function* find_function(std::string_view name) {
    const auto all = catalog();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Function* f) { return f->name == name; });
    return found == all.end() ? nullptr : *found;
}

}  // namespace qvo::value
