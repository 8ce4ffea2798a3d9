// What the functions do when memory runs out at any point, or when bytes are not what they were: every function of the
// catalog, with its example's arguments and with many times as much data.
#include <gtest/gtest.h>

#include <chrono>

#include "allocation.h"
#include "calls.h"
#include "stored_values.h"

namespace test {
namespace {

struct Job {
    const qvo_function_t* function;
    std::string name;
    std::vector<Value> arguments;
};

/// Every function with the arguments of its example, as they are, in numbers that fill several tiles, and compressed.
std::vector<Job> jobs() {
    std::vector<Job> all;
    for (size_t i = 0; i < qvo_function_count(); ++i) {
        const qvo_function_t* const function = qvo_function_at(i);
        // A function may stand within another one's call, which makes of its result what can be shown.
        const std::string call_of = std::string(info_of(function).name) + "(";
        const char* const text = std::strstr(info_of(function).example, call_of.c_str());
        for (const size_t times : {1, 400, 2000}) {
            Job job{function, info_of(function).name, Example(text, times).arguments};
            if (times == 2000)
                for (Value& value : job.arguments)
                    if (value.kind == QVO_DATUM_BYTES && result_of("valid", {value}).integer == 1)
                        value = result_of("compress", {value});
            all.push_back(std::move(job));
        }
    }
    return all;
}

/// A sequence by its expression too, where a function makes one.
void evaluate(const qvo_function_t* function, const std::vector<qvo_datum_t>& arguments, Outcome& out) {
    constexpr size_t most = 16;
    qvo_datum_t data[most];
    qvo_expression_t *made[most] = {}, *outer = nullptr;
    const size_t n = arguments.size();
    for (size_t i = 0; i < n && out.code == QVO_VALUE_OK; ++i) {
        data[i] = arguments[i];
        if (data[i].kind != QVO_DATUM_BYTES) continue;
        const auto& bytes = arguments[i].as.bytes;
        out.take_code(qvo_expression_stored(bytes.data, bytes.size, nullptr, nullptr, &made[i], &out.error));
        data[i].kind = QVO_DATUM_EXPRESSION;
        data[i].as.expression = made[i];
    }
    if (out.code == QVO_VALUE_OK && out.take_code(qvo_expression_call(function, data, n, &outer, &out.error)))
        out.take_code(qvo_expression_evaluate(outer, nullptr, &out.results.emplace_back(), &out.error));
    qvo_expression_release(outer);
    for (qvo_expression_t* const e : made) qvo_expression_release(e);
}

/// The arguments' vector is made beforehand: the test's own memory is none of the call's.
void run(const Job& job, const std::vector<qvo_datum_t>& arguments, bool as_expression, const qvo_limits_t* limits,
         Outcome& out) {
    if (as_expression)
        evaluate(job.function, arguments, out);
    else
        call(job.function, arguments, limits, out);
}

TEST(Failures, EveryAllocationMayFail) {
    for (const Job& job : jobs())
        for (const bool as_expression : {false, true}) {
            if (as_expression && info_of(job.function).gives != QVO_GIVES_SEQUENCE) continue;
            const std::vector<qvo_datum_t> arguments = data_of(job.arguments);
            Outcome whole;
            run(job, arguments, as_expression, nullptr, whole);
            const std::vector<Value> expected = whole.values();
            size_t at = 0;
            for (bool failed = true; failed; ++at) {
                int64_t left;
                Outcome out;
                out.results.reserve(1000);
                {
                    Counted counted(at);
                    run(job, arguments, as_expression, nullptr, out);
                    for (qvo_datum_t& result : out.results) qvo_datum_free(&result);
                    failed = counted.failed();
                    left = counted.outstanding();
                }
                ASSERT_EQ(left, 0) << job.name << ": leaks when allocation " << at << " fails";
                if (failed) { ASSERT_EQ(out.code, QVO_VALUE_NOMEM) << job.name << ": " << out.error.message; }
                if (!failed) { EXPECT_EQ(out.code, whole.code) << job.name; }
            }
            Outcome again;
            run(job, arguments, as_expression, nullptr, again);
            EXPECT_TRUE(again.values() == expected) << job.name << ": the next call";
        }
}

Bytes mutated(const std::string& bytes, Engine& random) {
    Bytes changed(bytes.begin(), bytes.end());
    if (changed.empty()) return changed;
    const size_t at = random() % changed.size();
    switch (random() % 8) {
        case 0:
            changed.resize(at);
            break;
        case 1:
            changed.insert(changed.end(), 1 + random() % 64, static_cast<uint8_t>(random()));
            break;
        case 2:
        case 3:  // numbers at their limits
            for (size_t i = at; i < std::min(changed.size(), at + (size_t{1} << random() % 4)); ++i)
                changed[i] = random() % 2 != 0 ? 0xff : 0x7f;
            break;
        case 4:
            for (int i = 0; i < 5; ++i) changed[random() % changed.size()] = static_cast<uint8_t>(random());
            break;
        default:
            // Header and directory decide most, and are small.
            changed[random() % 2 != 0 ? at : at % 64] ^= static_cast<uint8_t>(1u << random() % 8);
    }
    return changed;
}

/// Ends a call that takes longer than any should.
int too_late(void* start) {
    using namespace std::chrono;
    return steady_clock::now() - *static_cast<steady_clock::time_point*>(start) > seconds(10);
}

TEST(Failures, HostileBytesGiveAnErrorOrAnAnswer) {
    Engine random(20260101);
    constexpr size_t most_memory = size_t{256} << 20;
    for (const Job& job : jobs()) {
        std::vector<size_t> bytes;
        for (size_t i = 0; i < job.arguments.size(); ++i)
            if (job.arguments[i].kind == QVO_DATUM_BYTES) bytes.push_back(i);
        for (int round = 0; round < 120 && !bytes.empty(); ++round) {
            Job changed = job;
            std::string& target = changed.arguments[bytes[random() % bytes.size()]].bytes;
            Bytes hostile = mutated(target, random);
            if (random() % 4 != 0) seal(hostile);
            target.assign(hostile.begin(), hostile.end());
            const std::vector<qvo_datum_t> arguments = data_of(changed.arguments);
            auto start = std::chrono::steady_clock::now();
            const qvo_limits_t limits{uint64_t{1} << 20, too_late, &start, nullptr};
            Outcome out;
            size_t peak;
            {
                Counted counted(SIZE_MAX, most_memory);
                run(changed, arguments, false, &limits, out);
                peak = counted.peak();
            }
            ASSERT_LT(peak, most_memory) << job.name;
            ASSERT_NE(out.code, QVO_VALUE_NOMEM) << job.name;
            ASSERT_NE(out.code, QVO_VALUE_INTERRUPTED) << job.name << " took more than ten seconds";
            if (out.code == QVO_VALUE_ERROR) {
                EXPECT_EQ(std::string(out.error.message).rfind("seq_", 0), 0u) << out.error.message;
            }
            for (const Value& value : out.values()) {
                if (out.code != QVO_VALUE_OK || info_of(job.function).gives != QVO_GIVES_SEQUENCE) continue;
                ASSERT_EQ(result_of("valid", {value}).integer, 1) << job.name << " gave what is not sound";
            }
        }
    }
}

}  // namespace
}  // namespace test
