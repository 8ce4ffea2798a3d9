// The table of codings, and which of them writes a tile.
#include "stored/coding.h"

namespace qvo::value {
namespace {

const Coding* const codings[n_encodings] = {&plain_coding,  &runs_coding,  &constant_coding, &progression_coding,
                                            &narrow_coding, &delta_coding, &decimal_coding,  &dictionary_coding};

}  // namespace

const Coding& coding_of(Encoding encoding) { return *codings[static_cast<size_t>(encoding)]; }

Plan choose_plan(const Elements& elements, const Profile& profile, bool single, Scratch& scratch) {
    Plan plan;
    plain_coding.plan(elements, profile, scratch, plan);
    if (constant_coding.plan(elements, profile, scratch, plan)) return plan;
    if (single && progression_coding.plan(elements, profile, scratch, plan)) return plan;
    // Each gives way to one that is smaller. Narrow offsets also stand for delta, as they share the way there.
    for (const Coding* coding : {&narrow_coding, &decimal_coding, &dictionary_coding})
        coding->plan(elements, profile, scratch, plan);
    return plan;
}

}  // namespace qvo::value
