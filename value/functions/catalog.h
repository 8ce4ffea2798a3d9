// The tables that the catalog is made of, by sections of the reference, each in a file of its name.
#pragma once

#include "evaluate/arguments.h"

namespace qvo::value {

std::span<const Function> make_functions();
std::span<const Function> arithmetic_functions();
std::span<const Function> choosing_functions();
std::span<const Function> comparison_functions();
std::span<const Function> text_functions();
std::span<const Function> calendar_functions();
std::span<const Function> along_functions();
std::span<const Function> window_functions();
std::span<const Function> select_functions();
std::span<const Function> aggregate_functions();
std::span<const Function> extremum_functions();
std::span<const Function> pair_functions();
std::span<const Function> order_statistic_functions();
std::span<const Function> group_functions();
std::span<const Function> state_functions();
std::span<const Function> time_functions();

/// Makes an aggregate for an entry of the catalog.
template <class A, auto... Settings> std::unique_ptr<Aggregate> make(const Function&) {
    return std::make_unique<A>(Settings...);
}

}  // namespace qvo::value
