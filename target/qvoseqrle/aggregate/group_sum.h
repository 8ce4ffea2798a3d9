// Sums of groups: the terms of a batch of steps in an array, and what they come to, group by group. Only the terms
// depend on the aggregate and on the type of its values; how they are added up is compiled once for integers and once
// for floating numbers.
//
// A floating sum is taken in the order of the steps. What is done at the same time are sums of different groups.
#pragma once

#include "aggregate/group_walk.h"

namespace qvo {

/// The groups of a batch as stretches of an array of terms, element 0 of which is what the group that is open before
/// the batch has come to. Stretch j is from bounds[j] to bounds[j + 1]; the last one is the group that stays open, if
/// one does.
struct GroupBounds {
    static constexpr size_t most_terms = GroupSteps::most + 1;

    size_t n;      // stretches
    size_t ended;  // groups among them that end
    uint16_t bounds[GroupSteps::most + 2 + GroupSteps::slack];

    GroupBounds(const GroupSteps& steps, bool open);
};

/// Room for one number for each term or group; many are written at a time.
template <class T> struct GroupNumbers { T of[GroupBounds::most_terms + GroupSteps::slack]; };

/// The sums of the groups.
void add_terms(const GroupNumbers<double>& terms, const GroupBounds& groups, GroupNumbers<double>& sums);
void add_terms(const GroupNumbers<uint64_t>& terms, const GroupBounds& groups, GroupNumbers<uint64_t>& sums);

/// The sums of terms and those of their squares, of which the open group has come to `open_square`.
void add_squares(const GroupNumbers<double>& terms, double open_square, const GroupBounds& groups,
                 GroupNumbers<double>& sums, GroupNumbers<double>& squares);

/// The positions of the groups, `open` of which were there before the batch.
void count_positions(const GroupSteps& steps, const GroupBounds& groups, uint64_t open, GroupNumbers<uint64_t>& counts);

/// A step without positions opens no group, and what it adds before there is one is forgotten: -0.0 changes no sum.
void forget_empty_steps(const GroupSteps& steps, const GroupBounds& groups, double* terms);

/// Copies the values of the steps side by side, up to GroupSteps::slack more.
void spread_values(const uint8_t* values, size_t width, const uint16_t* index, size_t n, uint8_t* out);

}  // namespace qvo
