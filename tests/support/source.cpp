#include "support/source.h"

#include <algorithm>

namespace test {

Record::Record() {
    std::memset(static_cast<void*>(&it), 0xa5, sizeof it);
    std::fill(std::begin(it.opd), std::end(it.opd), nullptr);
    it.owned_buf = 0;
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

void Source::add(std::string bytes, unsigned run) {
    values_ += bytes;
    runs_.push_back(static_cast<uint8_t>(run));
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
    it_.tile_size = static_cast<uint16_t>(n);
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

}  // namespace test
