// Aggregates in parts: one iterator per part of the data, joined by prepare and merge.
#pragma once

#include <algorithm>

#include "support/number.h"

namespace test {

/// Where to cut `n` elements into `parts` pieces, some of which may be empty.
inline std::vector<size_t> cuts(Random& random, size_t n, size_t parts) {
    std::vector<size_t> at{0, n};
    for (size_t i = 1; i < parts; ++i) at.push_back(random.below(static_cast<unsigned>(n) + 1));
    std::sort(at.begin(), at.end());
    return at;
}

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

/// What an aggregate delivers: one element, or nothing.
template <class T> Items<T> delivered(qvo_seq_iterator_h it) {
    const QVO_RET rc = it->next(it);
    EXPECT_TRUE(rc == QVO_S_OK || rc == QVO_S_CURSOR_END) << rc;
    EXPECT_EQ(it->next(it), QVO_S_CURSOR_END) << "the end must last";
    EXPECT_EQ(it->next_seq_no, rc == QVO_S_OK);
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

/// A member's iterators over the parts of its operands. Part p of operand o is operands[o](p).
class Parts {
 public:
    using MakePart = std::function<std::unique_ptr<Source>(size_t part)>;

    Parts(const Member& member, const std::vector<MakePart>& operands, size_t parts) {
        for (size_t p = 0; p < parts; ++p) {
            Member::Operands handles;
            for (const MakePart& make : operands) {
                sources_.push_back(make(p));
                handles.push_back(sources_.back()->get());
            }
            records_.push_back(std::make_unique<Record>());
            EXPECT_EQ(member.construct(part(p), handles), QVO_S_OK);
        }
    }
    qvo_seq_iterator_h part(size_t p) { return records_[p]->get(); }

    /// Computes all parts and folds them into the first; a single part is left to `next`.
    void join(const std::function<bool(size_t part)>& empty) {
        if (records_.size() == 1) return;
        for (size_t p = 0; p < records_.size(); ++p)
            EXPECT_EQ(part(p)->prepare(part(p)), empty(p) ? QVO_S_CURSOR_END : QVO_S_OK) << "part " << p;
        for (size_t p = 1; p < records_.size(); ++p) {
            const qvo_seq_iterator_t source = *part(p), target = *part(0);
            EXPECT_EQ(part(0)->merge(part(0), part(p)), QVO_S_OK);
            EXPECT_EQ(std::memcmp(&source, part(p), sizeof source), 0) << "merge changes the source";
            EXPECT_TRUE(part(0)->tile_size == target.tile_size && part(0)->next_seq_no == target.next_seq_no);
        }
    }

 private:
    std::vector<std::unique_ptr<Source>> sources_;
    std::vector<std::unique_ptr<Record>> records_;
};

}  // namespace test
