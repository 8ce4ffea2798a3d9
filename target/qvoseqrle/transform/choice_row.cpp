#include "transform/choice_row.h"

namespace qvo {
namespace {

constexpr size_t most_conditions = ChoiceRow::most_conditions;

/// The conditions that choose a side.
struct Chooser {
    static constexpr size_t room = most_conditions + run_block;  // what lies beyond the last one is looked at
    uint8_t runs[room] = {};                                     // the first one last, as in a tile
    uint16_t at[most_conditions + 1];                            // among all conditions
    uint16_t end[most_conditions + 2] = {};                      // steps before each of them
    size_t n = 0, n_complete = 0;

    /// Crosses them with the elements of the side but the last one, which it moves on to the end of the row; positions
    /// of the first condition have been taken.
    void cross(unsigned taken, const Operand& elements, ChoiceRow::Side& side) {
        if (n == 0) return;
        CrossingSide crossing[] = {{runs + room - 1, 0, n, taken},
                                   {elements.runs(), elements.index(), elements.elements_left() - 1, elements.taken()}};
        const CrossingRow<2> row{{side.condition, side.element}, side.run, ChoiceRow::most_of_side};
        const size_t n_steps = cross_runs(row, crossing).elements;
        for (size_t i = 0; i < n_steps; ++i) end[side.condition[i] + 1] = static_cast<uint16_t>(i + 1);
        n_complete = crossing[0].index;
    }
};

/// Moves a side past its steps of the row; the element that comes next is listed after them.
void move_past(const ChoiceRow::Side& side, Operand& elements) {
    if (side.n == 0) return;
    const size_t next = side.element[side.n];
    unsigned taken = next == elements.index() ? elements.taken() : 0;
    for (size_t i = side.n; i != 0 && side.element[i - 1] == next; --i) taken += side.run[i - 1];
    elements.move_to(next, taken);
}

}  // namespace

void cross_choices(Operand (&operands)[3], size_t room, ChoiceRow& row) {
    bool all_short = room >= fewest_crossings && crossings_are_cheap();
    for (const Operand& operand : operands)
        all_short = all_short && runs_are_short(operand.runs(), operand.elements_left(), operand.run_left());
    if (!all_short) return;
    Operand& condition = operands[0];
    const uint8_t *const runs = condition.runs(), *const is_true =
                                                      values_of<uint8_t>(condition.iterator()) + condition.index();
    const size_t n = std::min({condition.elements_left() - 1, most_conditions, room});
    if (std::memchr(runs + 1 - n, 0, n) != nullptr) return;

    Chooser choosers[2];
    size_t n_of[2] = {0, 0};
    for (size_t j = 0; j < n; ++j) {
        const size_t chosen = is_true[j] != 0;
        for (size_t s = 0; s < 2; ++s) {
            choosers[s].runs[Chooser::room - 1 - n_of[s]] = static_cast<uint8_t>(get_run(runs, j));
            choosers[s].at[n_of[s]] = static_cast<uint16_t>(j);
            n_of[s] += chosen == s;
        }
    }
    size_t done = n;
    for (size_t s = 0; s < 2; ++s) {
        Chooser& chooser = choosers[s];
        chooser.n = n_of[s];
        const bool is_first = (is_true[0] != 0) == (s != 0);
        chooser.cross(is_first ? condition.taken() : 0, operands[2 - s], row.sides[s]);
        if (chooser.n_complete < chooser.n) done = std::min<size_t>(done, chooser.at[chooser.n_complete]);
    }

    uint16_t before[most_conditions + 1];  // steps before each condition
    size_t at[2] = {0, 0};
    for (size_t j = 0; j < done; ++j) {
        const size_t chosen = is_true[j] != 0;
        const uint16_t right = choosers[0].end[at[0]], left = choosers[1].end[at[1]];
        row.sides[0].others[at[0]] = left;
        row.sides[1].others[at[1]] = right;
        before[j] = static_cast<uint16_t>(left + right);
        at[0] += 1 - chosen;
        at[1] += chosen;
    }
    before[done] = static_cast<uint16_t>(choosers[0].end[at[0]] + choosers[1].end[at[1]]);
    for (; before[done] > room; --done) --at[is_true[done - 1] != 0];
    if (done == 0) return;
    for (size_t s = 0; s < 2; ++s) {
        row.sides[s].n = choosers[s].end[at[s]];
        move_past(row.sides[s], operands[2 - s]);
    }
    row.span = {before[done], sum_runs(runs, done) - condition.taken()};
    condition.move_to(condition.index() + done, 0);
}

}  // namespace qvo
