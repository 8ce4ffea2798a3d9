// Integers, booleans and time stamps as offsets: of the values (narrow), or of their differences (delta).
#include "stored/offsets.h"

namespace qvo::value {
namespace {

template <class V> struct Truncate {
    using Word = WordOf<V>;
    static constexpr V missing = 0;  // integers have none
    QVO_INLINE V operator()(Word word) const { return static_cast<V>(word); }

    template <class Loop, class From>
    static void run(const Loop& loop, const From* from, size_t n, const Truncate& convert, V* to) {
        for_cpu<Loop::run, CpuLevel::avx512>(loop, from, n, convert, to);
    }
};

/// Calls f(V{}) with the integer that values of a type are carried as.
template <class F> void with_integer(Type type, F&& f) {
    with_fixed(type, [&](auto tag) {
        using V = typename decltype(tag)::value;
        if constexpr (std::is_integral_v<V>) f(V{});
    });
}

constexpr bool has_integers(Type type) { return type != Type::char_ && !is_floating(type); }

bool plan_narrow(const Elements& e, const Profile& profile, Scratch&, Plan& plan) {
    bool fits = false;
    if (!has_integers(e.type.type)) return fits;
    with_integer(e.type.type, [&](auto zero) {
        using V = decltype(zero);
        OffsetHeader header;
        const unsigned below = static_cast<unsigned>(8 * sizeof(V));
        if (!OffsetWriter<V>::plan(e.as<V>(), e.n, profile.smallest.as<V>(), profile.largest.as<V>(), below, header))
            return;
        if (e.type.type == Type::boolean && header.bits != 1) return;
        const size_t size = offsets_size(e.n, header.bits);
        if (size >= plan.size) return;
        fits = true;
        plan.encoding = (header.flags & offsets_of_deltas) != 0 ? Encoding::delta : Encoding::narrow;
        plan.size = size;
        plan.offsets = header;
    });
    return fits;
}

void write_narrow(const Elements& e, const Plan& plan, Scratch&, uint8_t* to) {
    with_integer(e.type.type, [&](auto zero) {
        OffsetWriter<decltype(zero)>::write(e.as<decltype(zero)>(), e.n, plan.offsets, 0, to);
    });
}

void open_integers(OpenTile& tile, uint8_t flags) {
    if (!has_integers(tile.type.type)) damaged("coding of a tile");
    open_offsets(tile);
    const OffsetHeader& h = tile.offsets;
    if (h.flags != flags || h.digits != 0) damaged("offsets of a tile");
    // Booleans are 0 and 1 whatever the offsets.
    if (tile.type.type == Type::boolean && (h.flags != 0 || h.bits != 1 || h.base != 0 || h.unit != 1))
        damaged("boolean");
}

void open_narrow(OpenTile& tile) { open_integers(tile, 0); }
void open_delta(OpenTile& tile) { open_integers(tile, offsets_of_deltas); }

void read_narrow(OpenTile& tile, size_t n, void* to) {
    // Signs play no part in reading.
    const auto as = [&](auto zero) {
        using V = decltype(zero);
        OffsetReader<Truncate<V>, V>::read(tile, n, {}, static_cast<V*>(to));
    };
    switch (tile.type.width) {
        case 1:
            return as(uint8_t{});
        case 2:
            return as(uint16_t{});
        case 4:
            return as(uint32_t{});
        default:
            return as(uint64_t{});
    }
}

}  // namespace

const Coding narrow_coding = {"narrow", plan_narrow, write_narrow, open_narrow, read_narrow};
const Coding delta_coding = {"delta", plan_narrow, write_narrow, open_delta, read_narrow};

}  // namespace qvo::value
