// Aggregates in parts: one iterator per part of the data, joined by prepare and merge.
#pragma once

#include <algorithm>

#include "support/number.h"

namespace test {

/// What the members have in common.
inline Member aggregate_member(Member member, qvo_seq_iterator_merge_t merge) {
    member.prepare = merge != nullptr ? qvo_seq_prepare_aggregate : nullptr;
    member.merge = merge;
    member.aggregate = merge != nullptr;
    if (member.reset == qvo_seq_reset_unary_iterator) member.stops_on_empty = {false};
    return member;
}
inline Member aggregate_member(const char* name, const std::function<std::remove_pointer_t<ConstructUnary>>& construct,
                               qvo_seq_iterator_next_t next, qvo_seq_iterator_merge_t merge, uint8_t type) {
    return aggregate_member(unary_member(name, construct, next, type, width_of(type)), merge);
}

/// What an aggregate delivers: one tile, or nothing.
template <class T> Items<T> delivered(qvo_seq_iterator_h it) {
    const QVO_RET rc = it->next(it);
    EXPECT_TRUE(rc == QVO_S_OK || rc == QVO_S_CURSOR_END) << rc;
    EXPECT_EQ(it->next(it), QVO_S_CURSOR_END) << "the end must last";
    EXPECT_EQ(it->next_seq_no, rc == QVO_S_OK ? it->tile_size : 0);
    return rc == QVO_S_OK ? tile_items<T>(*it) : Items<T>{};
}

/// The one value that a constructor makes of its operands.
template <class R, class Construct, class... Operands>
typename R::value value_of(Construct construct, Operands... operands) {
    Record it;
    EXPECT_EQ(construct(it.get(), operands...), QVO_S_OK);
    const Items<R> result = delivered<R>(it.get());
    EXPECT_EQ(result.size(), 1U);
    return result.empty() ? typename R::value{} : result[0].value;
}

/// The elements of each operand, for one part of the data.
using Part = std::vector<Elements>;

/// A member in one piece, which is left to `next`, and in parts, which are computed and merged into the first: it
/// delivers what the model makes of them. A part that has an empty operand ends without a value, unless `always`.
inline void check_parts(const Member& member, const std::function<Part(Random&)>& draw, Random& random,
                        const std::function<Items<t_number>(const std::vector<Part>&)>& model, bool always = false,
                        const std::function<void(qvo_seq_iterator_h, const std::vector<Part>&)>& also = nullptr) {
    for (const size_t n_parts : {1, 2, 5}) {
        SCOPED_TRACE(std::to_string(n_parts) + " parts");
        std::vector<Part> parts;
        std::vector<std::unique_ptr<Source>> sources;
        std::vector<Record> records(n_parts);
        std::vector<bool> delivers;
        for (Record& record : records) {
            parts.push_back(draw(random));
            Member::Operands handles;
            delivers.push_back(true);
            for (const Elements& elements : parts.back()) {
                sources.push_back(source_of(elements, {random_tile_sizes(random)}));
                handles.push_back(sources.back()->get());
                if (elements.items.empty() && !always) delivers.back() = false;
            }
            EXPECT_EQ(member.construct(record.get(), handles), QVO_S_OK);
        }
        const qvo_seq_iterator_h first = records[0].get();
        for (size_t p = 0; p < n_parts && n_parts != 1; ++p) {
            const qvo_seq_iterator_h it = records[p].get();
            EXPECT_EQ(it->prepare(it), delivers[p] ? QVO_S_OK : QVO_S_CURSOR_END) << "part " << p;
            const qvo_seq_iterator_t before = *it;
            if (p != 0) { EXPECT_EQ(first->merge(first, it), QVO_S_OK); }
            EXPECT_EQ(std::memcmp(&before, it, sizeof before), 0) << "merge changes the source";
        }
        // A first part without values keeps what is merged into it for further merges.
        check_items<t_number>(delivered<t_number>(first), delivers[0] ? model(parts) : Items<t_number>{});
        if (also) also(first, parts);
    }
}

}  // namespace test
