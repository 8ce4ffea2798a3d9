// Values as they are: one after the other, or one for a whole tile.
#include "stored/coding.h"

namespace qvo::value {
namespace {

/// Booleans are 0 and 1: operators count and move by them.
QVO_INLINE bool are_booleans(const uint8_t* values, size_t n) {
    uint8_t any = 0;
    for (size_t i = 0; i < n; ++i) any |= values[i];
    return any <= 1;
}

void open_plain(OpenTile& tile) {
    if (tile.size != tile.n * tile.type.width) damaged("size of a tile");
    if (tile.type.type == Type::boolean && !for_cpu<are_booleans>(tile.payload, tile.n)) damaged("boolean");
}

void read_plain(OpenTile& tile, size_t n, void* to) {
    const size_t width = tile.type.width;
    if (to != nullptr && n != 0) std::memcpy(to, tile.payload + tile.at * width, n * width);
    tile.at += n;
}

void write_plain(const Elements& elements, const Plan& plan, Scratch&, uint8_t* to) {
    std::memcpy(to, elements.values, plan.size);
}

bool plan_plain(const Elements& elements, const Profile&, Scratch&, Plan& plan) {
    plan.encoding = Encoding::plain;
    plan.size = elements.n * elements.type.width;
    return true;
}

/// A tile of one element, whatever its run.
bool plan_constant(const Elements& elements, const Profile& profile, Scratch& scratch, Plan& plan) {
    if (elements.n != 1) return false;
    plan_plain(elements, profile, scratch, plan);
    plan.encoding = Encoding::constant;
    return true;
}

}  // namespace

const Coding plain_coding = {"plain", plan_plain, write_plain, open_plain, read_plain};
const Coding runs_coding = {"runs", plan_plain, write_plain, open_plain, read_plain};
const Coding constant_coding = {"constant", plan_constant, write_plain, open_plain, read_plain};

}  // namespace qvo::value
