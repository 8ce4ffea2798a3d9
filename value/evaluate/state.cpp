#include "evaluate/state.h"

#include "stored/format.h"

namespace qvo::value {
namespace {

constexpr char magic[4] = {'Q', 'V', 'A', 1};  // the last byte is the version

}  // namespace

void StateReader::damaged() { throw Error(Fault::value, "argument 1: the bytes are not the state of an aggregate"); }

void put_scalar(Buffer& to, const Scalar& scalar) {
    put(to, scalar.type.type);
    put(to, scalar.type.width);
    put(to, scalar.natural);
    put(to, static_cast<uint8_t>(scalar.text.size()));
    to.append(scalar.text.data(), scalar.text.size());
}

Scalar StateReader::take_scalar() {
    Scalar scalar;
    const auto type = take<uint8_t>();
    if (type >= n_types) damaged();
    const auto width = take<uint8_t>();
    scalar.type = {static_cast<Type>(type), width};
    if (scalar.type.type == Type::char_ ? width == 0 : scalar.type != type_of(scalar.type.type)) damaged();
    scalar.natural = take<uint64_t>();
    const std::span<const uint8_t> text = take_bytes(take<uint8_t>());
    if (text.size() > width && !text.empty()) damaged();
    scalar.text.assign(text.begin(), text.end());
    return scalar;
}

Buffer save_state(const Function& function, const Aggregate& aggregate) {
    return save_state(function, [&](Buffer& to) { aggregate.save(to); });
}

Buffer save_state(const Function& function, const std::function<void(Buffer& to)>& save) {
    Buffer state;
    state.append(magic, sizeof magic);
    put(state, static_cast<uint8_t>(function.name.size()));
    state.append(function.name.data(), function.name.size());
    save(state);
    put(state, format::tile_checksum(state.data(), state.size()));
    return state;
}

SavedState read_state(std::span<const uint8_t> bytes) {
    constexpr size_t sum = sizeof(uint64_t);
    if (bytes.size() < sum) StateReader::damaged();
    StateReader in(bytes.first(bytes.size() - sum));
    StateReader check(bytes.last(sum));
    if (std::memcmp(in.take_bytes(sizeof magic).data(), magic, sizeof magic) != 0 ||
        !format::same_checksum(format::tile_checksum(bytes.data(), bytes.size() - sum), check.take<uint64_t>()))
        StateReader::damaged();
    const std::span<const uint8_t> name = in.take_bytes(in.take<uint8_t>());
    const Function* const function = find_function({reinterpret_cast<const char*>(name.data()), name.size()});
    if (function == nullptr || function->aggregate == nullptr) StateReader::damaged();
    return {function,
            bytes.subspan(sizeof magic + 1 + name.size(), bytes.size() - sum - sizeof magic - 1 - name.size())};
}

void merge_state(Aggregate& aggregate, const SavedState& saved) {
    StateReader in(saved.state);
    aggregate.merge(in);
    if (in.left() != 0) StateReader::damaged();
}

std::unique_ptr<Aggregate> restore(const SavedState& saved) {
    std::unique_ptr<Aggregate> aggregate = saved.function->aggregate(*saved.function);
    merge_state(*aggregate, saved);
    return aggregate;
}

}  // namespace qvo::value
