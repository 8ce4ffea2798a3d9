// Joining a series of sequences.
#include "support/protocol.h"

namespace test {
namespace {

/// A host's series over given sequences. Moving on loads the first tile of a sequence, as hosts may, or leaves an empty
/// one.
class Series {
 public:
    explicit Series(std::vector<std::unique_ptr<Source>> sequences, const AnyType& type = any_type<t_int4>(),
                    bool loads = false, size_t fail_at_sequence = SIZE_MAX)
        : sequences_(std::move(sequences)), loads_(loads), fail_at_sequence_(fail_at_sequence) {
        std::memset(static_cast<void*>(&meta_), 0xb6, sizeof meta_);
        meta_.user_data = meta_.iterator.buf = this;
        meta_.first = [](qvo_seq_meta_iterator_h meta) { return static_cast<Series*>(meta->user_data)->move(0); };
        meta_.next = [](qvo_seq_meta_iterator_h meta) {
            Series* const s = static_cast<Series*>(meta->user_data);
            const QVO_RET rc = s->move(s->sequence_ + 1);
            return rc == QVO_S_OK && s->loads_ ? s->load(), rc : rc;
        };
        meta_.iterator.next = [](qvo_seq_iterator_h it) { return static_cast<Series*>(it->buf)->load(); };
        meta_.iterator.elem_type = type.code;
        meta_.iterator.elem_size = static_cast<uint16_t>(type.width);
        meta_.iterator.rle_offs = 3;  // not consulted
    }
    qvo_seq_meta_iterator_h get() { return &meta_; }

 private:
    QVO_RET move(size_t sequence) {
        if (sequence == fail_at_sequence_) return 4711;
        if (sequence >= sequences_.size()) return QVO_S_CURSOR_END;
        sequence_ = sequence;
        meta_.iterator.tile_size = meta_.iterator.tile_offs = 0;
        return sequences_[sequence]->get()->reset(sequences_[sequence]->get());
    }
    QVO_RET load() {
        const qvo_seq_iterator_h source = sequences_[sequence_]->get();
        const QVO_RET rc = source->next(source);
        if (rc != QVO_S_OK) return rc;
        meta_.iterator.tile = source->tile;
        meta_.iterator.tile_size = source->tile_size;
        return QVO_S_OK;
    }

    std::vector<std::unique_ptr<Source>> sequences_;
    bool loads_;
    size_t fail_at_sequence_, sequence_ = 0;
    qvo_seq_meta_iterator_t meta_;
};

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_meta_iterator_h);

void check_join(const AnyType& type, Constructor construct) {
    SCOPED_TRACE(type.name);
    for_seeds(12, [&](Random& random, unsigned seed) {
        std::vector<std::unique_ptr<Source>> sequences;
        Items<t_char> all;
        for (unsigned n = seed == 0 ? 0 : random.between(1, 6); n != 0; --n) {
            const auto items = type.items(random, random.chance(30) ? 0 : random.between(1, 2500));
            all.insert(all.end(), items.begin(), items.end());
            sequences.push_back(type.operand(items)({random_tile_sizes(random)}));
        }
        Series series(std::move(sequences), type, random.chance(50));
        Record it;
        ASSERT_EQ(construct(it.get(), series.get()), QVO_S_OK);
        EXPECT_TRUE(it->elem_type == type.code && it->elem_size == type.width && it->opd[0] == nullptr);
        EXPECT_TRUE(it->next == qvo_seq_meta_iterator_next && it->reset == qvo_seq_meta_iterator_reset);
        EXPECT_TRUE(it->prepare == nullptr && it->merge == nullptr && it->last_seq_no == ~qvo_seq_no_t{0});
        EXPECT_NE(series.get()->iterator.bounded, 1);
        for (unsigned round = 0; round < 2; ++round) {
            check_items<t_char>(drain<t_char>(it.get()), all);
            // All tiles but the last are full.
            const size_t capacity = capacity_of(type.width), rest = all.size() % capacity;
            if (!all.empty()) { EXPECT_EQ(it->tile_size, rest == 0 ? capacity : rest); }
            ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
            EXPECT_TRUE(it->tile_size == 0 && it->next_seq_no == 0);
        }
    });
}

#define TEST_MEMBER(type) check_join(any_type<t_##type>(), qvo_seq_join_##type);

TEST(Join, AllSequencesInFullTiles) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) TEST_MEMBER(char) }

std::vector<std::unique_ptr<Source>> sequences_of(const AnyType& type, const std::vector<size_t>& sizes,
                                                  size_t failing = SIZE_MAX, QVO_RET code = 4711) {
    std::vector<std::unique_ptr<Source>> all;
    for (const size_t n : sizes)
        all.push_back(type.operand(Items<t_char>(n, {std::string(type.width, 'x'), 2}))(
            {{}, all.size() == failing ? 0 : SIZE_MAX, code}));
    return all;
}

TEST(Join, FailuresPassThrough) {
    const struct {
        size_t at_sequence, at_tile_of;
        std::vector<QVO_RET> codes;
        qvo_seq_no_t positions;
    } cases[] = {
        // 500 and 400 elements of run 2: an error drops what the call has produced, but its positions stay counted.
        {0, SIZE_MAX, {4711, 4711}, 0},
        {SIZE_MAX, 0, {4711}, 0},
        {1, SIZE_MAX, {4711}, 1000},
        {SIZE_MAX, 1, {4711}, 1000},
        {2, SIZE_MAX, {QVO_S_OK, 4711}, 1800},
        {SIZE_MAX, SIZE_MAX, {QVO_S_OK, QVO_S_OK, QVO_S_CURSOR_END, QVO_S_CURSOR_END}, 1800},
    };
    for (const auto& c : cases) {
        Series series(sequences_of(any_type<t_int4>(), {500, 400}, c.at_tile_of), any_type<t_int4>(), false,
                      c.at_sequence);
        Record it;
        ASSERT_EQ(qvo_seq_join_int4(it.get(), series.get()), QVO_S_OK);
        for (const QVO_RET code : c.codes) EXPECT_EQ(it->next(it.get()), code);
        EXPECT_EQ(it->next_seq_no, c.positions);
        if (c.at_tile_of != SIZE_MAX) { EXPECT_EQ(series.get()->iterator.tile_offs, 0) << "set back before the pull"; }
    }
}

TEST(Join, StopsOnBrokenTiles) {
    Series empty(sequences_of(any_type<t_int4>(), {3}, 0, QVO_S_OK));
    Record it;
    ASSERT_EQ(qvo_seq_join_int4(it.get(), empty.get()), QVO_S_OK);
    EXPECT_TRUE(catch_stop([&] { it->next(it.get()); }).stopped) << "success with an empty tile";
    // Sequences of a narrower type, whose tiles hold more elements than can be read at this width.
    Series narrow(sequences_of(any_type<t_int1>(), {2000}), any_type<t_int1>());
    ASSERT_EQ(qvo_seq_join_int8(it.get(), narrow.get()), QVO_S_OK);
    EXPECT_TRUE(catch_stop([&] { it->next(it.get()); }).stopped);
}

}  // namespace
}  // namespace test
