// Top values and their positions: against the selection stated step by step, merging, worked cases.
#include <algorithm>

#include "aggregate/parts.h"

namespace test {
namespace {

using Better = bool (*)(Number, Number);
bool larger(Number x, Number y) { return x > y; }
bool smaller(Number x, Number y) { return x < y; }

/// A candidate at a time: binary search, insertion, and the last one falls out.
struct Selection {
    std::vector<Number> values;
    std::vector<uint64_t> positions;

    void offer(Number x, uint64_t position, size_t top, Better better) {
        if (top == 0) return;
        if (values.size() == top && (x == values.back() || better(values.back(), x))) return;
        size_t low = 0, high = values.size();
        while (low < high) {
            const size_t middle = (low + high) / 2;
            if (better(x, values[middle]))
                high = middle;
            else
                low = middle + 1;
        }
        if (low == top) return;
        values.insert(values.begin() + static_cast<ptrdiff_t>(low), x);
        positions.insert(positions.begin() + static_cast<ptrdiff_t>(low), position);
        values.resize(std::min(values.size(), top));
        positions.resize(values.size());
    }
};

QVO_RET literal_next(qvo_seq_iterator_h it, size_t top, bool wants_positions, Better better) {
    if (it->next_seq_no != 0) {
        if (wants_positions) it->tile_size = 0;
        return QVO_S_CURSOR_END;
    }
    Selection kept;
    uint64_t before = 0;
    QVO_RET rc;
    for (const qvo_seq_iterator_h input = it->opd[0]; (rc = input->next(input)) == QVO_S_OK; before += input->tile_size)
        for (size_t i = 0; i < input->tile_size; ++i) kept.offer(literal_number(input, i), before + i, top, better);
    const size_t n = kept.values.size();
    for (size_t i = 0; i < n; ++i)
        literal_put_number(it, i, it->elem_type, wants_positions ? Number(kept.positions[i]) : kept.values[i]);
    const bool delivers = rc == QVO_S_CURSOR_END && n != 0;
    if (delivers || wants_positions) {
        it->next_seq_no += n;
        it->tile_size = static_cast<uint16_t>(n);
    }
    return delivers ? QVO_S_OK : rc;
}

std::vector<Number> literal_merge(std::vector<Number> a, const std::vector<Number>& b, size_t top, Better better) {
    size_t i = 0, j = 0;
    for (; i < a.size() && j < b.size(); ++i) {
        if (a[i] == b[j]) {
            ++j;
        } else if (!better(a[i], b[j])) {
            a.insert(a.begin() + static_cast<ptrdiff_t>(i), b[j++]);
            a.resize(std::min(a.size(), top));
        }
    }
    for (; j < b.size() && i < top; ++i) a.push_back(b[j++]);
    return a;
}

using Construct = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_size_t);

/// Ascending, falling and random stretches, and often NaN or none at all.
Elements candidates(Random& random, uint8_t type, size_t n) {
    const unsigned shape = random.below(4);
    return random_elements(random, type, n, [=, i = 0](Random& r) mutable {
        ++i;
        if (shape == 0) return wrapped(type, i / 7);
        if (shape == 1) return wrapped(type, 100000 - i / 3);
        if (shape == 2 && is_floating(type) && r.chance(50)) return std::numeric_limits<Number>::quiet_NaN();
        return random_number(r, type);
    });
}

Member top_member(const char* name, Construct construct, qvo_seq_iterator_next_t next, qvo_seq_iterator_merge_t merge,
                  uint8_t type, size_t top) {
    return aggregate_member(
        name, [=](qvo_seq_iterator_h it, qvo_seq_iterator_h input) { return construct(it, input, top); }, next, merge,
        merge == nullptr ? t_uint8::code : type);
}

void check_member(const char* name, Construct construct, qvo_seq_iterator_next_t next, qvo_seq_iterator_merge_t merge,
                  uint8_t type, Better better) {
    const bool positions = merge == nullptr;
    const size_t most = std::min(capacity_of(width_of(type)), positions ? 455 : size_t{2048});
    check_random(
        top_member(name, construct, next, merge, type, 3), 16, [=](Random& random, unsigned seed, Member& m) -> Steps {
            const size_t top = seed == 1 ? 0 : seed == 2 ? most : random.between(1, random.chance(50) ? 20 : 455);
            m.construct = top_member(name, construct, next, merge, type, top).construct;
            m.operands = {operand(candidates(random, type, seed == 0 ? 6 : random.between(1, 6000)))};
            return [=](qvo_seq_iterator_h it) { return literal_next(it, top, positions, better); };
        });
    const auto source = source_of({type, width_of(type), {}});
    expect_refused(QVO_E_ILLEGAL_PARAM, construct, source->get(), most + 1);
    EXPECT_EQ(source->get()->bounded, 1) << "the operand stays marked";
}

/// Parts of any sizes, joined one after the other, and read before and after.
void check_merge(const char* name, Construct construct, qvo_seq_iterator_next_t next, qvo_seq_iterator_merge_t merge,
                 uint8_t type, Better better) {
    SCOPED_TRACE(name);
    for_seeds(20, [&](Random& random, unsigned) {
        const size_t top = random.between(1, 40);
        const auto draw = [=](Random& r) { return Part{candidates(r, type, r.between(1, r.chance(50) ? 10 : 500))}; };
        const auto model = [=](const std::vector<Part>& parts) {
            std::vector<Number> merged;
            for (const Part& part : parts) {
                Selection kept;
                for (size_t i = 0; i < part[0].items.size(); ++i) kept.offer(part[0].number(i), i, top, better);
                merged = merged.empty() ? kept.values : literal_merge(merged, kept.values, top, better);
            }
            return singles<t_number>(merged);
        };
        check_parts(top_member(name, construct, next, merge, type, top), draw, random, model);
    });
}

#define CHECK(check, stem, type, merge, better) check(MEMBER(stem##_##type), merge, t_##type::code, better);
#define TEST_MEMBER(type)                                                               \
    CHECK(check_member, qvo_seq_top_max, type, qvo_seq_top_max_##type##_merge, larger)  \
    CHECK(check_member, qvo_seq_top_min, type, qvo_seq_top_min_##type##_merge, smaller) \
    CHECK(check_member, qvo_seq_top_pos_max, type, nullptr, larger)                     \
    CHECK(check_member, qvo_seq_top_pos_min, type, nullptr, smaller)                    \
    CHECK(check_merge, qvo_seq_top_max, type, qvo_seq_top_max_##type##_merge, larger)   \
    CHECK(check_merge, qvo_seq_top_min, type, qvo_seq_top_min_##type##_merge, smaller)

TEST(Top, FollowsTheModel) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

TEST(Top, RunsAreOneCandidate_deliberate) {
    check_items<t_int4>(drained<t_int4>(qvo_seq_top_min_int4, Source(t_int4{}, {{4, 3}}).get(), 2), {{4}});
}

TEST(Top, MergingDropsEqualValues_deliberate) {
    Source a(t_int4{}, {{9}, {5}}), b(t_int4{}, {{5}, {2}}), none(t_int4{}, {});
    Record ra, rb, empty;
    for (auto [r, s] : {std::pair(&ra, &a), std::pair(&rb, &b), std::pair(&empty, &none)}) {
        ASSERT_EQ(qvo_seq_top_max_int4(r->get(), s->get(), 3), QVO_S_OK);
        r->get()->prepare(r->get());
    }
    ASSERT_EQ(qvo_seq_top_max_int4_merge(ra.get(), rb.get()), QVO_S_OK);
    check_items<t_int4>(tile_items<t_int4>(ra.it), {{9}, {5}, {2}});
    EXPECT_TRUE(catch_stop([&] { qvo_seq_top_max_int4_merge(ra.get(), empty.get()); }).stopped);
    EXPECT_TRUE(catch_stop([&] { qvo_seq_top_max_int4_merge(empty.get(), ra.get()); }).stopped);
}

}  // namespace
}  // namespace test
