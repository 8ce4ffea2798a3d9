// The table of codings, and which of them writes a tile.
#include "stored/coding.h"

namespace qvo::value {

namespace {

const Coding* const codings[n_encodings] = {&plain_coding, &runs_coding,  &constant_coding, &progression_coding,
                                            &plain_coding, &plain_coding, &plain_coding,    &plain_coding};

}  // namespace

const Coding& coding_of(Encoding encoding) { return *codings[static_cast<size_t>(encoding)]; }

Plan choose_plan(const Elements& elements, const Profile& profile, bool single, Scratch& scratch) {
    Plan plan;
    plain_coding.plan(elements, profile, scratch, plan);
    if (constant_coding.plan(elements, profile, scratch, plan)) return plan;
    if (single && progression_coding.plan(elements, profile, scratch, plan)) return plan;
    return plan;
}

}  // namespace qvo::value
