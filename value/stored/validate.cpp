// Reading everything once, to find what is wrong with a stored value.
//
// Each tile is decoded as a whole, so memory is that of the largest; constant tiles and progressions, which may have any
// number of positions, are judged by their ends.
#include "stored/coding.h"

namespace qvo::value {
namespace {

/// The length of the UTF-8 sequence at the beginning of n >= 1 bytes, or 0 if there is none.
size_t code_point_size(const uint8_t* text, size_t n) {
    const uint8_t first = text[0];
    if (first < 0x80) return 1;
    const size_t size = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || size > n) return 0;
    for (size_t i = 1; i < size; ++i)
        if ((text[i] & 0xc0) != 0x80) return 0;
    // Longer than needed, a surrogate, or beyond the last code point.
    const uint8_t second = text[1];
    const bool wrong = (first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f) ||
                       (first == 0xf0 && second < 0x90) || (first == 0xf4 && second > 0x8f);
    return wrong ? 0 : size;
}

/// UTF-8 up to the first zero, and zeros from there on.
bool is_text(const uint8_t* text, size_t width) {
    size_t i = 0;
    while (i < width && text[i] != 0) {
        const size_t size = code_point_size(text + i, width - i);
        if (size == 0) return false;
        i += size;
    }
    for (; i < width; ++i)
        if (text[i] != 0) return false;
    return true;
}

bool same_extreme(ValueType type, const Extreme& a, const Extreme& b) {
    // Zeros of either sign are the same.
    if (type.type == Type::double_) return a.as<double>() == b.as<double>();
    if (type.type == Type::float_) return a.as<float>() == b.as<float>();
    return std::memcmp(a.bytes, b.bytes, sizeof a.bytes) == 0;
}

class Validator {
 public:
    explicit Validator(std::span<const uint8_t> bytes) : stored_(bytes), type_(stored_.type()), reader_(stored_) {}

    void run(const std::function<void()>& each_tile) {
        for (size_t i = 0; i < stored_.n_tiles(); ++i) {
            if (each_tile) each_tile();
            const TileEntry entry = stored_.tile(i);
            reader_.open(i);
            const size_t n = entry.encoding == Encoding::progression ? ends(entry) : decode(entry);
            check(entry, {type_, values_.data(), n});
        }
    }

 private:
    void resize(size_t n) {
        if (values_.size() < n * type_.width) values_.resize(n * type_.width);
        if (runs_.size() < n * sizeof(uint64_t)) runs_.resize(n * sizeof(uint64_t));
    }
    void set_run(size_t i, uint64_t run) { format::store(runs_.data() + i * sizeof run, run); }

    size_t decode(const TileEntry& entry) {
        const auto n = static_cast<size_t>(entry.elements);
        resize(n);
        for (size_t i = 0; i < n; ++i) set_run(i, reader_.read_whole(values_.data() + i * type_.width));
        return n;
    }

    /// The first and the last value of a progression are its extremes, and none is missing.
    size_t ends(const TileEntry& entry) {
        resize(2);
        set_run(0, reader_.read_whole(values_.data()));
        set_run(1, 1);
        if (entry.positions == 1) return 1;
        reader_.skip(entry.positions - 2);
        reader_.read_whole(values_.data() + type_.width);
        return 2;
    }

    void check(const TileEntry& entry, const Elements& elements) const {
        const Profile profile = profile_of(elements);
        if (type_.type == Type::char_)
            for (size_t i = 0; i < elements.n; ++i)
                if (!is_text(elements.values + i * type_.width, type_.width)) damaged("text");
        if (missing_positions(elements, reinterpret_cast<const uint64_t*>(runs_.data())) != entry.missing)
            damaged("number of missing values of a tile");
        if (profile.missing == elements.n) return;
        if (!same_extreme(type_, profile.smallest, entry.smallest) ||
            !same_extreme(type_, profile.largest, entry.largest))
            damaged("smallest or largest value of a tile");
    }

    Stored stored_;
    ValueType type_;
    TileReader reader_;
    Buffer values_, runs_;
};

}  // namespace

bool is_valid(std::span<const uint8_t> bytes, const std::function<void()>& each_tile) {
    return fault_of(bytes, each_tile).empty();
}

std::string fault_of(std::span<const uint8_t> bytes, const std::function<void()>& each_tile) {
    try {
        Validator(bytes).run(each_tile);
    } catch (const Error& error) {
        if (error.fault() != Fault::value) throw;
        return error.what();
    }
    return {};
}

}  // namespace qvo::value
