// Few different values: each once, and small indices to them. For text above all.
#include <algorithm>

#include "stored/bits.h"
#include "stored/coding.h"

namespace qvo::value {
namespace {

using namespace format;

struct DictionaryHeader {
    uint32_t entries;
    uint8_t bits;  // of an index: 1, 2, 4, 8, 16
    uint8_t reserved[3];
};
static_assert(sizeof(DictionaryHeader) == 8);

constexpr size_t max_entries = size_t{1} << 16;
constexpr size_t n_samples = 32;

uint64_t hash_of(const uint8_t* value, size_t width) {
    uint64_t hash = width;
    for (size_t i = 0; i < width; i += 8) {
        uint64_t word = 0;
        std::memcpy(&word, value + i, std::min<size_t>(8, width - i));
        hash = (hash ^ word) * 0x9e3779b97f4a7c15U;
        hash ^= hash >> 32;
    }
    return hash;
}

/// Values of up to eight bytes as themselves, of more bytes their hash.
uint64_t key_of(const uint8_t* value, size_t width) {
    if (width > 8) return hash_of(value, width);
    if (width == 8) return load<uint64_t>(value);
    // Two loads that overlap, or are the same.
    if (width >= 4) return load<uint32_t>(value) | uint64_t{load<uint32_t>(value + width - 4)} << 8 * (width - 4);
    if (width >= 2) return load<uint16_t>(value) | uint64_t{load<uint16_t>(value + width - 2)} << 8 * (width - 2);
    return *value;
}

/// Different values among a few that lie apart; no further than `most` of them.
size_t different_in_sample(const Elements& e, size_t most) {
    const size_t width = e.type.width;
    uint64_t seen[n_samples];
    uint64_t marks[16] = {};  // a bit for each that may have been seen
    size_t n = 0;
    for (size_t k = 0; k < n_samples && n <= most; ++k) {
        const uint64_t key = key_of(e.values + k * (e.n - 1) / (n_samples - 1) * width, width);
        const uint64_t place = key * 0x9e3779b97f4a7c15U >> 54, mark = uint64_t{1} << place % 64;
        bool found = false;
        if ((marks[place / 64] & mark) != 0)
            for (size_t i = 0; i < n; ++i) found |= seen[i] == key;
        marks[place / 64] |= mark;
        seen[n] = key;
        n += !found;
    }
    return n;
}

/// Bits of an index, none of which lies in two parts.
constexpr unsigned index_bits(uint64_t largest) { return std::bit_ceil(bits_for(largest)); }

constexpr size_t size_of(size_t n, size_t entries, size_t width, unsigned bits) {
    return sizeof(DictionaryHeader) + entries * width + packed_size(n, bits);
}

/// Numbers the different values. The table grows with them, so that few are looked for in little memory.
class Numbering {
 public:
    Numbering(const Elements& e, Scratch& scratch) : e_(e), scratch_(scratch) {
        scratch.indices.resize(0);
        scratch.indices.extend(e.n * sizeof(uint16_t));
        scratch.entries.resize(0);
        make_slots(1024);
    }
    size_t entries() const { return entries_; }

    /// False once they take as much as `below` bytes with their indices, or go on being new.
    bool run(size_t below) {
        return with_fixed_width(e_.type.width, [&](auto fixed) { return run_as<fixed>(below); });
    }

 private:
    static constexpr size_t between_looks = 32;  // elements

    /// Whether a value has been seen is often anybody's guess, so there is no branch on it; and slots are many, so that few
    /// hold another value. Whether all of it pays is looked at now and then.
    template <size_t fixed> bool run_as(size_t below) {
        const size_t width = fixed != 0 ? fixed : e_.type.width;
        auto* const indices = reinterpret_cast<uint16_t*>(scratch_.indices.data());
        const size_t none = std::min<size_t>(e_.n, UINT16_MAX);
        uint8_t* const entries = scratch_.entries.extend((e_.n + 1) * width);
        for (size_t i = 0, n = 0; i < e_.n;) {
            while (4 * (n + between_looks) > n_slots_) grow(entries, n);
            auto* const slots = reinterpret_cast<uint16_t*>(scratch_.slots.data());
            const size_t mask = n_slots_ - 1;
            const int shift = shift_;
            for (const size_t end = std::min(e_.n, i + between_looks); i < end; ++i) {
                const uint8_t* const value = e_.values + i * width;
                size_t at = place_of(key_of(value, width), shift);
                // What is in no slot is the next entry, and is found at the place after all.
                std::memcpy(entries + n * width, value, width);
                std::memcpy(entries + none * width, value, width);
                size_t entry = std::min<size_t>(slots[at], none);
                while (std::memcmp(entries + entry * width, value, width) != 0)
                    entry = std::min<size_t>(slots[at = (at + 1) & mask], none);
                const bool is_new = entry == none;
                slots[at] = indices[i] = static_cast<uint16_t>(is_new ? n : entry);
                n += is_new;
            }
            entries_ = n;
            const bool hopeless = i >= 256 && n > i - i / 8;
            if (hopeless || n + between_looks > UINT16_MAX || size_of(e_.n, n, width, index_bits(n - 1)) >= below)
                return false;
        }
        scratch_.entries.resize(entries_ * width);
        return true;
    }

    static size_t place_of(uint64_t key, int shift) {
        return static_cast<size_t>((key * 0x9e3779b97f4a7c15U) >> shift);
    }

    /// Slots hold the numbers of entries. An empty one has the largest number that there is.
    void make_slots(size_t n) {
        n_slots_ = n;
        shift_ = 64 - std::countr_zero(n);
        scratch_.slots.resize(0);
        std::memset(scratch_.slots.extend(n * sizeof(uint16_t)), UINT8_MAX, n * sizeof(uint16_t));
    }
    void grow(const uint8_t* entries, size_t n) {
        make_slots(4 * n_slots_);
        const size_t width = e_.type.width;
        auto* const slots = reinterpret_cast<uint16_t*>(scratch_.slots.data());
        for (size_t i = 0; i < n; ++i) {
            size_t at = place_of(key_of(entries + i * width, width), shift_);
            while (slots[at] != UINT16_MAX) at = (at + 1) & (n_slots_ - 1);
            slots[at] = static_cast<uint16_t>(i);
        }
    }

    const Elements& e_;
    Scratch& scratch_;
    size_t n_slots_ = 0, entries_ = 0;
    int shift_ = 0;
};

bool plan_dictionary(const Elements& e, const Profile&, Scratch& scratch, Plan& plan) {
    if (e.type.type == Type::boolean) return false;
    const size_t width = e.type.width;
    const size_t worth = plan.size - plan.size / 8;  // looking up takes longer than other ways to read
    unsigned bits = 1;
    while (bits < 16 && packed_size(e.n, 2 * bits) < worth) bits *= 2;
    const size_t fewest = e.n < n_samples ? 2 : std::max<size_t>(2, different_in_sample(e, size_t{1} << bits));
    if (size_of(e.n, fewest, width, index_bits(fewest - 1)) >= worth) return false;
    // Of numbers that are nearly all different in a sample there are too many; texts pay even so.
    if (e.type.type != Type::char_ && (e.n < n_samples || 8 * fewest > 7 * n_samples)) return false;
    Numbering numbering(e, scratch);
    if (!numbering.run(worth)) return false;
    plan.encoding = Encoding::dictionary;
    plan.size = size_of(e.n, numbering.entries(), width, index_bits(numbering.entries() - 1));
    return true;
}

void write_dictionary(const Elements& e, const Plan&, Scratch& scratch, uint8_t* to) {
    DictionaryHeader header{};
    header.entries = static_cast<uint32_t>(scratch.entries.size() / e.type.width);
    header.bits = static_cast<uint8_t>(index_bits(header.entries - 1));
    store(to, header);
    std::memcpy(to + sizeof header, scratch.entries.data(), scratch.entries.size());
    to += sizeof header + scratch.entries.size();
    const auto* const indices = reinterpret_cast<const uint16_t*>(scratch.indices.data());
    if (header.bits == 16) {
        std::memcpy(to, indices, e.n * sizeof(uint16_t));
    } else if (header.bits == 8) {
        for (size_t i = 0; i < e.n; ++i) to[i] = static_cast<uint8_t>(indices[i]);
    } else {
        for (size_t i = 0; i < e.n; i += bit_group) {
            uint8_t bytes[bit_group] = {};
            for (size_t k = 0; k < std::min(bit_group, e.n - i); ++k) bytes[k] = static_cast<uint8_t>(indices[i + k]);
            pack(bytes, header.bits, e.n, i, bit_group, to);
        }
    }
}

template <class Index> bool indices_below(const uint8_t* indices, size_t n, size_t end) {
    Index largest = 0;
    for (size_t i = 0; i < n; ++i) largest = std::max(largest, load<Index>(indices + i * sizeof(Index)));
    return largest < end;
}

void open_dictionary(OpenTile& tile) {
    if (tile.size < sizeof(DictionaryHeader) || tile.type.type == Type::boolean) damaged("dictionary");
    const auto h = load<DictionaryHeader>(tile.payload);
    if (h.entries == 0 || h.entries > max_entries || !std::has_single_bit(h.bits) || h.bits > 16 ||
        (h.reserved[0] | h.reserved[1] | h.reserved[2]) != 0 ||
        tile.size != size_of(tile.n, h.entries, tile.type.width, h.bits))
        damaged("dictionary");
    tile.offsets.bits = h.bits;
    tile.body = tile.payload + sizeof h + h.entries * tile.type.width;
    bool sound = true;
    if (h.bits == 16)
        sound = indices_below<uint16_t>(tile.body, tile.n, h.entries);
    else if (h.bits == 8)
        sound = indices_below<uint8_t>(tile.body, tile.n, h.entries);
    else
        for_unpacked<uint8_t>(tile.body, h.bits, tile.n, 0, tile.n, [&](const uint8_t* bytes, size_t n) {
            sound = sound && indices_below<uint8_t>(bytes, n, h.entries);
        });
    if (!sound) damaged("dictionary");
}

/// Values of a number of bytes that is known where the loop is compiled, or 0.
template <size_t fixed, class Index>
void look_up_as(const uint8_t* entries, size_t width, const uint8_t* indices, size_t n, uint8_t* to) {
    const size_t bytes = fixed != 0 ? fixed : width;
    for (size_t i = 0; i < n; ++i)
        std::memcpy(to + i * bytes, entries + load<Index>(indices + i * sizeof(Index)) * bytes, bytes);
}

template <class Index> void look_up(const OpenTile& tile, const uint8_t* indices, size_t n, uint8_t* to) {
    const size_t width = tile.type.width;
    with_fixed_width(width, [&](auto fixed) {
        look_up_as<fixed, Index>(tile.payload + sizeof(DictionaryHeader), width, indices, n, to);
    });
}

void read_dictionary(OpenTile& tile, size_t n, void* values) {
    const uint64_t at = tile.at;
    tile.at += n;
    if (values == nullptr) return;
    auto* to = static_cast<uint8_t*>(values);
    switch (tile.offsets.bits) {
        case 16:
            return look_up<uint16_t>(tile, tile.body + 2 * at, n, to);
        case 8:
            return look_up<uint8_t>(tile, tile.body + at, n, to);
        default:
            for_unpacked<uint8_t>(tile.body, tile.offsets.bits, tile.n, at, n,
                                  [&](const uint8_t* indices, size_t some) {
                                      look_up<uint8_t>(tile, indices, some, to);
                                      to += some * tile.type.width;
                                  });
    }
}

}  // namespace

const Coding dictionary_coding = {"dictionary", plan_dictionary, write_dictionary, open_dictionary, read_dictionary};

}  // namespace qvo::value
