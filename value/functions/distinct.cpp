#include "functions/distinct.h"

#include <bit>
#include <cstring>
#include <string>
#include <unordered_map>

#include "aggregate/murmur3.h"
#include "aggregate/sketch.h"
#include "base/text.h"
#include "evaluate/deliver.h"
#include "evaluate/state.h"
#include "functions/meeting.h"
#include "operators/distinct_keys.h"

namespace qvo::value {
namespace {

/// A value as a 64-bit key: integers as int8 (uint8 as it is), floating values as double with one zero.
template <class V> QVO_INLINE uint64_t number_key(V v) {
    if constexpr (std::is_floating_point_v<V>)
        return std::bit_cast<uint64_t>(static_cast<double>(v) + 0.0);
    else
        return static_cast<uint64_t>(static_cast<int64_t>(v));
}

constexpr size_t most_in_tile = capacity_of(1);

/// The values of all rows, each once, and how often each came if they are counted.
class Different : public Aggregate {
 public:
    explicit Different(bool counting) : counting_(counting), keys_(counting) {}

    void step(Arguments& row) override {
        Plan& plan = row.plan();
        Series x = row.series(0);
        meet_at(meeting_.add_row(row, x.type));
        if (x.type.type != Type::char_) x = widened(plan, x, *type_);
        for_each_tile(plan, x, [&](const void* values, const uint8_t* runs, size_t n) {
            for (size_t i = 0; i < n && counting_; ++i) times_[i] = get_run(runs, i);
            if (x.type.type == Type::char_)
                add_texts(static_cast<const char*>(values), x.type.width, n);
            else
                with_fixed(x.type.type, [&](auto tag) {
                    add_numbers(static_cast<const typename decltype(tag)::value*>(values), n);
                });
            plan.within_budget(size());
        });
    }
    void save(Buffer& to) const override {
        meeting_.save(to);
        put(to, uint64_t{keys_.size()});
        keys_.for_each([&](uint64_t key, uint64_t times) {
            put(to, key);
            if (counting_) put(to, times);
        });
        put(to, uint64_t{texts_.size()});
        for (const auto& [text, times] : texts_) {
            put(to, static_cast<uint8_t>(text.size()));
            to.append(text.data(), text.size());
            if (counting_) put(to, times);
        }
    }
    void merge(StateReader& in) override {
        const std::optional<ValueType> type = Meeting::take(in);
        const auto n = in.take<uint64_t>();
        if (!type) {  // of no rows
            if (n != 0 || in.take<uint64_t>() != 0) StateReader::damaged();
            return;
        }
        meet_at(meeting_.add_state(*type));
        for (uint64_t i = 0; i < n; ++i) {
            const uint64_t key = converted(in.take<uint64_t>(), *type, *type_);
            if (type->type == Type::char_) check_text(short_text(key));
            const uint64_t times = counting_ ? in.take<uint64_t>() : 1;
            keys_.add(&key, &times, 1);
        }
        const auto n_texts = in.take<uint64_t>();
        for (uint64_t i = 0; i < n_texts; ++i) {
            const std::span<const uint8_t> text = in.take_bytes(in.take<uint8_t>());
            const std::string as_read(text.begin(), text.end());
            if (type->type != Type::char_) StateReader::damaged();
            check_text(as_read);
            texts_[as_read] += counting_ ? in.take<uint64_t>() : 1;
        }
    }

 protected:
    size_t size() const { return keys_.size() + texts_.size(); }

    /// Calls f(scalar, times) for each value.
    template <class F> void for_each(F f) const {
        if (!type_) return;
        Scalar scalar = scalar_of(*type_);
        keys_.for_each([&](uint64_t key, uint64_t times) {
            if (type_->type == Type::char_)
                scalar.text = short_text(key);
            else
                scalar.natural = key;
            f(scalar, times);
        });
        for (const auto& [text, times] : texts_) {
            scalar.text = text;
            f(scalar, times);
        }
    }

 private:
    template <class V> void add_numbers(const V* values, size_t n) {
        uint64_t keys[most_in_tile];
        size_t to = 0;
        for (size_t i = 0; i < n; ++i) {
            keys[to] = number_key(values[i]);
            if (counting_) times_[to] = times_[i];
            to += values[i] == values[i];
        }
        keys_.add(keys, counting_ ? times_ : nullptr, to);
    }
    /// Texts up to eight bytes are keys themselves.
    void add_texts(const char* values, size_t width, size_t n) {
        uint64_t keys[most_in_tile];
        size_t to = 0;
        uint64_t* before = nullptr;  // of the text before, if that is a long one
        for (size_t i = 0; i < n; ++i, values += width) {
            const size_t length = strnlen(values, width);
            const uint64_t times = counting_ ? times_[i] : 1;
            if (length <= sizeof(uint64_t)) {
                std::memcpy(&(keys[to] = 0), values, length);
                times_[to++] = times;
                before = nullptr;
                continue;
            }
            if (before == nullptr || std::memcmp(values - width, values, width) != 0)
                before = &texts_[std::string(values, length)];
            *before += times;
        }
        keys_.add(keys, times_, to);
    }

    /// Brings the keys to the type in which the rows meet now.
    void meet_at(ValueType type) {
        const std::optional<ValueType> before = std::exchange(type_, type);
        if (!before || before->type == type.type || type.type == Type::char_) return;
        DistinctKeys keys(counting_);
        keys_.for_each([&](uint64_t key, uint64_t times) {
            const uint64_t other = converted(key, *before, type);
            keys.add(&other, &times, 1);
        });
        keys_ = std::move(keys);
    }
    static std::string short_text(uint64_t key) {
        char text[sizeof key];
        std::memcpy(text, &key, sizeof key);
        return {text, strnlen(text, sizeof text)};
    }
    static void check_text(std::string_view text) {
        if (!is_utf8(text) || text.find('\0') != text.npos) StateReader::damaged();
    }
    static uint64_t converted(uint64_t key, ValueType from, ValueType to) {
        if (from.type == to.type || is_floating(from.type)) return key;
        const bool natural = from.type == Type::uint8;
        if (is_floating(to.type))
            return number_key(natural ? static_cast<double>(key) : static_cast<double>(static_cast<int64_t>(key)));
        if (natural && static_cast<int64_t>(key) < 0)
            throw Error(Fault::overflow, "the value " + std::to_string(key) + " does not fit int8; cast converts it");
        return key;
    }

    bool counting_;
    Meeting meeting_;
    std::optional<ValueType> type_;  // of the keys
    DistinctKeys keys_;
    std::unordered_map<std::string, uint64_t> texts_;  // longer than eight bytes
    uint64_t times_[most_in_tile];                     // of a tile
};

class CountDistinct final : public Different {
 public:
    CountDistinct() : Different(false) {}
    void finish(Result& result, const Limits&) const override { result.set(static_cast<int64_t>(size())); }
};

class Mode final : public Different {
 public:
    Mode() : Different(true) {}
    void finish(Result& result, const Limits&) const override {
        Scalar best;
        uint64_t most = 0;
        for_each([&](const Scalar& scalar, uint64_t times) {
            if (times < most || (times == most && compare(scalar, best) >= 0)) return;
            best = scalar;
            most = times;
        });
        most == 0 ? result.set_null() : set_result(result, best);
    }
};

/// Keys for hashing that do not depend on the type: numbers that int8 holds as such, others as double.
template <class V> QVO_INLINE uint64_t hash_key(V v) {
    if constexpr (std::is_floating_point_v<V>) {
        const double real = static_cast<double>(v);
        const bool fits = real >= -0x1p63 && real < 0x1p63;
        const auto whole = static_cast<int64_t>(fits ? real : 0.0);
        return fits && static_cast<double>(whole) == real ? static_cast<uint64_t>(whole) : number_key(real);
    } else if constexpr (std::is_same_v<V, uint64_t>) {
        // Beyond int8 a double may be the same number.
        const double real = static_cast<double>(v);
        const bool same = v >> 63 != 0 && real < 0x1p64 && static_cast<uint64_t>(real < 0x1p64 ? real : 0.0) == v;
        return same ? number_key(real) : v;
    } else {
        return static_cast<uint64_t>(static_cast<int64_t>(v));
    }
}

class ApproxDistinct final : public Aggregate {
 public:
    void step(Arguments& row) override {
        const Series x = row.series(0);
        meeting_.add_row(row, x.type);
        for_each_tile(row.plan(), x, [&](const void* values, const uint8_t*, size_t n) {
            if (x.type.type == Type::char_) return add_texts(static_cast<const char*>(values), x.type.width, n);
            with_fixed(x.type.type,
                       [&](auto tag) { add_numbers(static_cast<const typename decltype(tag)::value*>(values), n); });
        });
    }
    void finish(Result& result, const Limits&) const override { result.set(int64_t{estimate(registers_)}); }
    void save(Buffer& to) const override {
        meeting_.save(to);
        put(to, registers_);
    }
    void merge(StateReader& in) override {
        const std::optional<ValueType> type = Meeting::take(in);
        const std::span<const uint8_t> registers = in.take_bytes(sketch_registers);
        constexpr uint8_t highest_rank = 26;
        if (std::any_of(registers.begin(), registers.end(), [](uint8_t rank) { return rank > highest_rank; }))
            StateReader::damaged();
        if (type) meeting_.add_state(*type);
        merge_registers(registers_, registers.data());
    }

 private:
    template <class V> void add_numbers(const V* values, size_t n) {
        uint64_t keys[most_in_tile];
        size_t to = 0;
        for (size_t i = 0; i < n; ++i) {
            keys[to] = hash_key(values[i]);
            to += values[i] == values[i];
        }
        add_values(reinterpret_cast<const uint8_t*>(keys), sizeof keys[0], to, registers_);
    }
    void add_texts(const char* values, size_t width, size_t n) {
        for (size_t i = 0; i < n; ++i, values += width)
            if (i == 0 || std::memcmp(values - width, values, width) != 0)
                add_hash(hash_bytes(reinterpret_cast<const uint8_t*>(values), strnlen(values, width), hash_seed),
                         registers_);
    }

    Meeting meeting_;
    uint8_t registers_[sketch_registers] = {};
};

}  // namespace

std::unique_ptr<Aggregate> make_mode(const Function&) { return std::make_unique<Mode>(); }
std::unique_ptr<Aggregate> make_count_distinct(const Function&) { return std::make_unique<CountDistinct>(); }
std::unique_ptr<Aggregate> make_approx_distinct(const Function&) { return std::make_unique<ApproxDistinct>(); }

}  // namespace qvo::value
