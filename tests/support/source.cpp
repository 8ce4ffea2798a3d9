#include "support/source.h"

#include <algorithm>

#include "support/number.h"

namespace test {
namespace {

template <class T> std::string to_text(const Items<T>& items, size_t i) {
    return i < items.size() ? test::to_text(items[i].value) + "x" + std::to_string(items[i].run) : "no element";
}

}  // namespace

template <class T> void check_items(const Items<T>& actual, const Items<T>& expected) {
    const size_t n = std::max(actual.size(), expected.size());
    size_t i = 0;
    while (i < actual.size() && i < expected.size() && actual[i].run == expected[i].run &&
           same_value(actual[i].value, expected[i].value))
        ++i;
    if (i == n) return;
    std::string text;
    for (size_t k = i < 10 ? 0 : i; k < std::min(n, i + 10); ++k)
        text += "\n  " + std::to_string(k) + ": " + to_text(actual, k) + ", expected " + to_text(expected, k);
    ADD_FAILURE() << T::name << ": " << actual.size() << " elements, expected " << expected.size() << text;
}

// ---- Random values --------------------------------------------------------------------------------------------------

unsigned Random::below(unsigned n) { return std::uniform_int_distribution<unsigned>(0, n - 1)(engine_); }
uint64_t Random::word() { return std::uniform_int_distribution<uint64_t>()(engine_); }
uint64_t Random::small() { return static_cast<uint64_t>(std::uniform_int_distribution<int>(-100, 100)(engine_)); }
double Random::small_real() { return std::uniform_real_distribution<double>(-1000, 1000)(engine_); }

void for_seeds(unsigned n, const std::function<void(Random&, unsigned seed)>& act) {
    for (unsigned seed = 0; seed < n && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        act(random, seed);
    }
}

template <class T> Items<T> random_items(Random& random, size_t n, const DrawValue<T>& draw) {
    Items<T> items;
    unsigned low = 1, high = 1;
    for (size_t i = 0; i < n; ++i) {
        if (i == 0 || random.chance(3)) {
            static constexpr unsigned shapes[][2] = {{1, 1}, {1, 1},    {2, 2},     {1, 3},
                                                     {1, 8}, {50, 150}, {255, 255}, {1, 255}};
            const auto& shape = shapes[random.below(8)];
            low = shape[0];
            high = shape[1];
        }
        typename T::value value = draw(random);
        items.push_back({std::move(value), random.between(low, high)});
    }
    return items;
}
template <class T> Items<T> random_items(Random& random, size_t n) {
    return random_items<T>(random, n, [](Random& r) { return r.value<typename T::value>(); });
}

std::string random_text(Random& random, std::string_view letters, size_t shortest, size_t longest) {
    std::string text(random.between(unsigned(shortest), unsigned(longest)), '\0');
    for (char& c : text) c = letters[random.below(unsigned(letters.size()))];
    return text;
}
Items<t_char> random_strings(Random& random, size_t n, std::string_view letters, size_t shortest, size_t longest) {
    return random_items<t_char>(random, n, [=](Random& r) { return random_text(r, letters, shortest, longest); });
}

std::vector<size_t> random_tile_sizes(Random& random) {
    std::vector<size_t> sizes;
    for (unsigned i = random.below(6); i != 0; --i)
        sizes.push_back(random.chance(30) ? 4096 : random.chance(50) ? random.between(1, 5) : random.between(1, 500));
    return sizes;
}

Script random_script(Random& random, unsigned seed) {
    Script script{random_tile_sizes(random)};
    if (seed % 3 == 2) script.stop_at = random.below(500), script.stop_code = 4711;
    return script;
}

// ---- Sources --------------------------------------------------------------------------------------------------------

Record::Record() {
    std::memset(static_cast<void*>(&it), 0xa5, sizeof it);
    std::fill(std::begin(it.opd), std::end(it.opd), nullptr);
    it.owned_buf = 0;
}

template <class T> std::string Source::bytes_of(const typename T::value& value, size_t width) {
    if constexpr (std::is_same_v<T, t_char>) {
        std::string bytes = value;
        bytes.resize(width, '\0');
        return bytes;
    } else {
        return std::string(reinterpret_cast<const char*>(&value), width);
    }
}

Source::Source(uint8_t code, size_t width, Script script) : script_(std::move(script)) {
    std::memset(static_cast<void*>(&it_), 0xb6, sizeof it_);
    it_.next = [](qvo_seq_iterator_h it) { return static_cast<Source*>(it->buf)->next(); };
    it_.reset = [](qvo_seq_iterator_h it) { return static_cast<Source*>(it->buf)->reset(); };
    it_.prepare = nullptr;
    it_.merge = nullptr;
    std::fill(std::begin(it_.opd), std::end(it_.opd), nullptr);
    it_.elem_type = code;
    it_.elem_size = static_cast<uint16_t>(width);
    it_.tile_size = it_.tile_offs = 0;
    it_.rle_offs = 0;
    it_.bounded = 0;
    it_.owned_buf = 0;
    it_.first_seq_no = it_.next_seq_no = 0;
    it_.last_seq_no = ~qvo_seq_no_t{0};
    it_.tile.null_bitmap[0] = it_.tile.null_bitmap[1] = 0;
    it_.buf = this;
}

template <class T>
Source::Source(T, const Items<T>& items, Script script, size_t width) : Source(T::code, width, std::move(script)) {
    for (const Item<T>& item : items) {
        values_ += bytes_of<T>(item.value, width);
        runs_.push_back(static_cast<uint8_t>(item.run));
    }
}

QVO_RET Source::next() {
    ++n_next_;
    if (at_ >= script_.stop_at) {
        if (script_.stop_code == QVO_S_OK) it_.tile_size = 0;
        return script_.stop_code;
    }
    size_t n = std::min({capacity_of(it_.elem_size), runs_.size() - at_, script_.stop_at - at_});
    if (n == 0) return QVO_S_CURSOR_END;
    if (!script_.tile_sizes.empty()) n = std::min(n, script_.tile_sizes[tiles_++ % script_.tile_sizes.size()]);
    uint8_t* payload = it_.tile.u.arr_uint1;
    std::memcpy(payload, values_.data() + at_ * it_.elem_size, n * it_.elem_size);
    for (size_t i = 0; i < n; ++i) {
        payload[sizeof(qvo_seq_payload_t) - 1 - i] = runs_[at_ + i];
        it_.next_seq_no += runs_[at_ + i];
    }
    it_.tile_size = static_cast<uint16_t>(script_.overfull ? capacity_of(it_.elem_size) + 1 : n);
    at_ += n;
    return QVO_S_OK;
}

QVO_RET Source::reset() {
    ++n_reset_;
    at_ = tiles_ = 0;
    it_.tile_size = it_.tile_offs = 0;
    it_.rle_offs = 0;
    it_.next_seq_no = 0;
    return script_.reset_code;
}

// ---- Reading --------------------------------------------------------------------------------------------------------

template <class T> Items<T> tile_items(const qvo_seq_iterator_t& it) {
    Items<T> items;
    const uint8_t* payload = it.tile.u.arr_uint1;
    for (size_t i = 0; i < it.tile_size; ++i) {
        Item<T> item;
        if constexpr (std::is_same_v<T, t_char>)
            item.value.assign(reinterpret_cast<const char*>(payload) + i * it.elem_size, it.elem_size);
        else
            std::memcpy(&item.value, payload + i * sizeof item.value, sizeof item.value);
        item.run = payload[sizeof(qvo_seq_payload_t) - 1 - i];
        items.push_back(item);
    }
    return items;
}

template <class T> QVO_RET read_items(qvo_seq_iterator_h it, Items<T>& items, size_t most) {
    QVO_RET rc = QVO_S_OK;
    while (items.size() < most && (rc = it->next(it)) == QVO_S_OK)
        for (Item<T>& item : tile_items<T>(*it)) items.push_back(std::move(item));
    return rc;
}

template <class T> Items<T> drain(qvo_seq_iterator_h it) {
    Items<T> all;
    while (!testing::Test::HasFailure()) {
        const qvo_seq_iterator_t before = *it;
        const QVO_RET rc = it->next(it);
        if (rc != QVO_S_OK) {
            EXPECT_EQ(rc, QVO_S_CURSOR_END);
            EXPECT_EQ(it->next(it), QVO_S_CURSOR_END) << "the end must last";
            EXPECT_EQ(std::memcmp(&before.tile, &it->tile, sizeof it->tile), 0) << "the end must not touch the tile";
            EXPECT_EQ(it->tile_size, before.tile_size);
            break;
        }
        EXPECT_EQ(qvo_seq_check_tile(it), QVO_SEQ_TILE_OK);
        uint64_t positions = 0;
        for (Item<T>& item : tile_items<T>(*it)) {
            positions += item.run;
            all.push_back(std::move(item));
        }
        EXPECT_EQ(it->next_seq_no - before.next_seq_no, positions);
        it->tile_offs = 0;
    }
    return all;
}

// Compiled here for all tests.
#define INSTANTIATE(type)                                                                         \
    template void check_items<t_##type>(const Items<t_##type>&, const Items<t_##type>&);          \
    template Items<t_##type> random_items<t_##type>(Random&, size_t, const DrawValue<t_##type>&); \
    template std::string Source::bytes_of<t_##type>(const t_##type::value&, size_t);              \
    template Source::Source(t_##type, const Items<t_##type>&, Script, size_t);                    \
    template Items<t_##type> tile_items<t_##type>(const qvo_seq_iterator_t&);                     \
    template QVO_RET read_items<t_##type>(qvo_seq_iterator_h, Items<t_##type>&, size_t);          \
    template Items<t_##type> drain<t_##type>(qvo_seq_iterator_h);
#define INSTANTIATE_FIXED(type) \
    INSTANTIATE(type)           \
    template Items<t_##type> random_items<t_##type>(Random&, size_t);
QVO_SEQ_FOR_FIXED_TYPES(INSTANTIATE_FIXED)
INSTANTIATE(char)
template void check_items<t_number>(const Items<t_number>&, const Items<t_number>&);
template Items<t_number> drain<t_number>(qvo_seq_iterator_h);

}  // namespace test
