// Wiring operators of the library into a plan.
#pragma once

#include <array>

#include "evaluate/plan.h"

namespace qvo::value {

using UnaryConstructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h);
using BinaryConstructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h);

/// The members of a family by type, as MEMBER(type) names them: boolean is a uint1, timestamp an int8. The 13th, char,
/// has to be given.
#define QVO_VALUE_MEMBERS(MEMBER, char_member)                                                               \
    {                                                                                                        \
        MEMBER(uint1), MEMBER(int1), MEMBER(int2), MEMBER(int4), MEMBER(int8), MEMBER(uint1), MEMBER(uint2), \
            MEMBER(uint4), MEMBER(uint8), MEMBER(float), MEMBER(double), MEMBER(int8), char_member           \
    }
using UnaryMembers = std::array<UnaryConstructor, n_types>;
using BinaryMembers = std::array<BinaryConstructor, n_types>;

/// The result of an operator of the library. Constructors refuse only what the catalog has checked before.
inline Series wire(Plan& plan, UnaryConstructor construct, const Series& x, ValueType type) {
    qvo_seq_iterator_h it = plan.iterator();
    if (const QVO_RET rc = construct(it, x.it); rc != QVO_S_OK) plan.fail(rc);
    return {it, type, x.length, x.constant};
}
inline Series wire(Plan& plan, BinaryConstructor construct, const Series& x, const Series& y, ValueType type,
                   std::optional<uint64_t> length) {
    qvo_seq_iterator_h it = plan.iterator();
    if (const QVO_RET rc = construct(it, x.it, y.it); rc != QVO_S_OK) plan.fail(rc);
    return {it, type, length, x.constant && y.constant};
}

}  // namespace qvo::value
