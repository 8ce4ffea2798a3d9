// Joining a series of sequences.
#include "support/protocol.h"

namespace test {
namespace {

/// A host's series over given sequences. Moving on loads the first tile of a sequence, as hosts may, or leaves an empty
/// one.
template <class T> class Series {
 public:
    explicit Series(std::vector<Items<T>> sequences, std::vector<size_t> tile_sizes = {}, bool loads = true)
        : sequences_(std::move(sequences)), tile_sizes_(std::move(tile_sizes)), loads_(loads) {
        std::memset(static_cast<void*>(&meta_), 0xb6, sizeof meta_);
        meta_.user_data = this;
        meta_.first = [](qvo_seq_meta_iterator_h meta) { return self(meta)->move(0); };
        meta_.next = [](qvo_seq_meta_iterator_h meta) {
            Series* const s = self(meta);
            const QVO_RET rc = s->move(s->sequence_ + 1);
            if (rc == QVO_S_OK && s->loads_) s->load();
            return rc;
        };
        meta_.iterator.buf = this;
        meta_.iterator.next = [](qvo_seq_iterator_h it) { return static_cast<Series*>(it->buf)->load(); };
        meta_.iterator.elem_type = T::code;
        meta_.iterator.elem_size = test_width<T>;
        meta_.iterator.rle_offs = 3;  // not consulted
    }
    Series(const Series&) = delete;
    qvo_seq_meta_iterator_h get() { return &meta_; }
    qvo_seq_iterator_t& iterator() { return meta_.iterator; }

    size_t fail_at_sequence = SIZE_MAX, fail_at_tile = SIZE_MAX;  // with 4711
    bool bad_tile = false;                                        // success with an empty tile

 private:
    static Series* self(qvo_seq_meta_iterator_h meta) { return static_cast<Series*>(meta->user_data); }

    QVO_RET move(size_t sequence) {
        if (sequence == fail_at_sequence) return 4711;
        if (sequence >= sequences_.size()) return QVO_S_CURSOR_END;
        sequence_ = sequence;
        at_ = 0;
        meta_.iterator.tile_size = meta_.iterator.tile_offs = 0;
        return QVO_S_OK;
    }
    QVO_RET load() {
        if (tiles_ == fail_at_tile) return 4711;
        const Items<T>& items = sequences_[sequence_];
        size_t n = std::min(items.size() - at_, capacity_of(test_width<T>));
        if (!tile_sizes_.empty()) n = std::min(n, tile_sizes_[tiles_ % tile_sizes_.size()]);
        if (n == 0 && !bad_tile) return QVO_S_CURSOR_END;
        ++tiles_;
        uint8_t* payload = meta_.iterator.tile.u.arr_uint1;
        for (size_t i = 0; i < n; ++i) {
            const std::string bytes = Source::bytes_of<T>(items[at_ + i].value, test_width<T>);
            std::memcpy(payload + i * bytes.size(), bytes.data(), bytes.size());
            payload[sizeof(qvo_seq_payload_t) - 1 - i] = static_cast<uint8_t>(items[at_ + i].run);
        }
        at_ += n;
        meta_.iterator.tile_size = static_cast<uint16_t>(n);
        return QVO_S_OK;
    }

    std::vector<Items<T>> sequences_;
    std::vector<size_t> tile_sizes_;
    bool loads_;
    size_t sequence_ = 0, at_ = 0, tiles_ = 0;
    qvo_seq_meta_iterator_t meta_;
};

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_meta_iterator_h);

template <class T> void check_join(Constructor construct) {
    for (unsigned seed = 0; seed < 12; ++seed) {
        SCOPED_TRACE(std::string(T::name) + ", seed " + std::to_string(seed));
        Random random(seed);
        std::vector<Items<T>> sequences(seed == 0 ? 0 : random.between(1, 6));
        Items<T> all;
        for (Items<T>& items : sequences) {
            items = draw_items<T>(random, random.chance(30) ? 0 : random.between(1, 2500));
            all.insert(all.end(), items.begin(), items.end());
        }
        for (auto& item : all)
            if constexpr (std::is_same_v<T, t_char>) item.value.resize(test_width<T>, '\0');
        Series<T> series(sequences, random_tile_sizes(random), random.chance(50));
        Record it;
        ASSERT_EQ(construct(it.get(), series.get()), QVO_S_OK);
        EXPECT_TRUE(it->elem_type == T::code && it->elem_size == test_width<T> && it->opd[0] == nullptr);
        EXPECT_TRUE(it->next == qvo_seq_meta_iterator_next && it->reset == qvo_seq_meta_iterator_reset);
        EXPECT_TRUE(it->prepare == nullptr && it->merge == nullptr && it->last_seq_no == ~qvo_seq_no_t{0});
        EXPECT_NE(series.iterator().bounded, 1);
        for (unsigned round = 0; round < 2; ++round) {
            const Items<T> items = drain<T>(it.get());
            check_items<T>(items, all);
            // All tiles but the last are full.
            const size_t capacity = capacity_of(test_width<T>), rest = all.size() % capacity;
            if (!all.empty()) { EXPECT_EQ(it->tile_size, rest == 0 ? capacity : rest); }
            ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
            EXPECT_TRUE(it->tile_size == 0 && it->next_seq_no == 0);
            if (testing::Test::HasFailure()) return;
        }
    }
}

TEST(Join, AllSequencesInFullTiles) {
#define CHECK(type) check_join<t_##type>(qvo_seq_join_##type);
    QVO_SEQ_FOR_FIXED_TYPES(CHECK) CHECK(char)
#undef CHECK
}

Items<t_int4> counting(size_t n) {
    Items<t_int4> items;
    for (size_t i = 0; i < n; ++i) items.push_back({static_cast<qvo_int4>(i), 2});
    return items;
}

TEST(Join, FailuresPassThrough) {
    struct Case {
        size_t sequence, tile;
        std::vector<QVO_RET> codes;
        qvo_seq_no_t positions;
    };
    // 500 and 400 elements of run 2: an error drops what the call has produced, but its positions stay counted.
    const Case cases[] = {
        {0, SIZE_MAX, {4711, 4711}, 0},
        {SIZE_MAX, 0, {4711}, 0},
        {1, SIZE_MAX, {4711}, 1000},
        {SIZE_MAX, 1, {4711}, 1000},
        {2, SIZE_MAX, {QVO_S_OK, 4711}, 1800},
        {SIZE_MAX, SIZE_MAX, {QVO_S_OK, QVO_S_OK, QVO_S_CURSOR_END, QVO_S_CURSOR_END}, 1800},
    };
    for (const Case& c : cases) {
        Series<t_int4> series({counting(500), counting(400)}, {}, false);
        series.fail_at_sequence = c.sequence;
        series.fail_at_tile = c.tile;
        Record it;
        ASSERT_EQ(qvo_seq_join_int4(it.get(), series.get()), QVO_S_OK);
        for (const QVO_RET code : c.codes) EXPECT_EQ(it->next(it.get()), code);
        EXPECT_EQ(it->next_seq_no, c.positions);
    }
}

TEST(Join, StopsOnBrokenTiles) {
    Series<t_int4> empty({counting(3)});
    empty.bad_tile = true;
    Record it;
    ASSERT_EQ(qvo_seq_join_int4(it.get(), empty.get()), QVO_S_OK);
    EXPECT_TRUE(catch_stop([&] { it->next(it.get()); }).stopped) << "success with an empty tile";
    // Sequences of a narrower type, whose tiles hold more elements than can be read at this width.
    Series<t_int1> narrow({Items<t_int1>(2000)});
    ASSERT_EQ(qvo_seq_join_int8(it.get(), narrow.get()), QVO_S_OK);
    EXPECT_TRUE(catch_stop([&] { it->next(it.get()); }).stopped);
}

}  // namespace
}  // namespace test
