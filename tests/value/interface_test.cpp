// The C interface as a program uses it: expressions over arrays and stored bytes, in one thread and in two, limits, and
// who owns what. What the functions answer is tested elsewhere.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <ctime>
#include <thread>

#include "calls.h"

namespace test {
namespace {

using Expression = std::unique_ptr<qvo_expression_t, decltype(&qvo_expression_release)>;

Expression owned(qvo_expression_t* e) { return {e, qvo_expression_release}; }

template <class V> Expression array(qvo_type_t type, const std::vector<V>& values, int* released = nullptr) {
    qvo_expression_t* e = nullptr;
    constexpr auto count_release = [](void* n) { ++*static_cast<int*>(n); };
    EXPECT_EQ(qvo_expression_array(type, 0, values.data(), values.size(),
                                   released == nullptr ? nullptr : +count_release, released, &e, nullptr),
              QVO_VALUE_OK);
    return owned(e);
}

qvo_datum_t datum(const Expression& e) {
    qvo_datum_t d{};
    d.kind = QVO_DATUM_EXPRESSION;
    d.as.expression = e.get();
    return d;
}
qvo_datum_t datum(const qvo_datum_t& d) { return d; }
qvo_datum_t datum(int64_t integer) { return Value{QVO_DATUM_INTEGER, integer, 0, {}}.datum(); }

template <class... A> Expression expression(const char* name, const A&... arguments) {
    const qvo_datum_t data[] = {datum(arguments)...};
    qvo_expression_t* e = nullptr;
    qvo_error_t error{};
    EXPECT_EQ(qvo_expression_call(named(name), data, sizeof...(A), &e, &error), QVO_VALUE_OK) << error.message;
    return owned(e);
}

std::vector<double> read(const Expression& e) {
    void* values = nullptr;
    qvo_type_t type;
    unsigned width;
    uint64_t n;
    qvo_error_t error{};
    EXPECT_EQ(qvo_expression_read(e.get(), nullptr, &values, &type, &width, &n, &error), QVO_VALUE_OK) << error.message;
    EXPECT_EQ(type, QVO_TYPE_DOUBLE);
    const auto* const from = static_cast<const double*>(values);
    std::vector<double> all(from, from + n);
    qvo_value_free(values);
    return all;
}

Value stored(const Expression& e) {
    qvo_datum_t result{};
    EXPECT_EQ(qvo_expression_evaluate(e.get(), nullptr, &result, nullptr), QVO_VALUE_OK);
    return take(result);
}

std::vector<double> wave(size_t n) {
    std::vector<double> values(n);
    for (size_t i = 0; i < n; ++i) values[i] = std::sin(static_cast<double>(i / 7)) * 100;
    return values;
}

TEST(Interface, ExpressionsStreamWhatCallsCompute) {
    for (const size_t n : {0, 1, 455, 10'000}) {
        const std::vector<double> values = wave(n);
        const Expression x = array(QVO_TYPE_DOUBLE, values);
        const Expression squared = expression("mul", x, x);
        const Expression shared = expression("add", squared, x);
        const Expression whole = expression("where", expression("gt", shared, datum(5)), shared, squared);
        const std::vector<double> result = read(whole);
        ASSERT_EQ(result.size(), n);
        for (size_t i = 0; i < n; ++i) {
            const double square = values[i] * values[i], sum = square + values[i];
            EXPECT_EQ(result[i], sum > 5 ? sum : square);
        }
        EXPECT_EQ(read(whole), result) << "a second time";
        // Call by call, with stored sequences in between.
        const Value x1 = stored(x), s1 = result_of("mul", {x1, x1}), a1 = result_of("add", {s1, x1});
        const Value c1 = result_of("gt", {a1, {QVO_DATUM_INTEGER, 5, 0, {}}});
        EXPECT_TRUE(result_of("where", {c1, a1, s1}) == stored(whole));
        // An expression is an argument of calls and aggregates too.
        Outcome sum;
        call(named("count"), {datum(whole)}, nullptr, sum);
        EXPECT_EQ(sum.values()[0].integer, static_cast<int64_t>(2 * n));
    }
}

TEST(Interface, ThreadsShareExpressions) {
    const std::vector<double> values = wave(100'000);
    const Expression x = array(QVO_TYPE_DOUBLE, values);
    const Expression whole = expression("rolling_mean", expression("add", x, expression("sort", x)), datum(20));
    const std::vector<double> expected = read(whole);
    const auto same = [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); };
    const auto work = [&] {
        for (int i = 0; i < 5; ++i) {
            qvo_expression_retain(whole.get());
            const std::vector<double> result = read(whole);
            EXPECT_TRUE(std::equal(result.begin(), result.end(), expected.begin(), expected.end(), same));
            qvo_expression_release(whole.get());
        }
    };
    std::thread one(work), two(work);
    one.join();
    two.join();
}

TEST(Interface, OwnersAreToldOnceWhenNothingRefersToTheirBytes) {
    const std::vector<double> values = wave(10);
    int released = 0;
    Expression x = array(QVO_TYPE_DOUBLE, values, &released);
    Expression sum = expression("add", x, x);
    x.reset();
    EXPECT_EQ(released, 0);
    EXPECT_EQ(read(sum).size(), 10u);
    sum.reset();
    EXPECT_EQ(released, 1);
    // After an error the bytes are still the caller's.
    qvo_expression_t* untouched = nullptr;
    const auto release = [](void* n) { ++*static_cast<int*>(n); };
    qvo_error_t error{};
    EXPECT_EQ(qvo_expression_stored("junk", 4, release, &released, &untouched, &error), QVO_VALUE_ERROR);
    EXPECT_EQ(qvo_expression_array(QVO_TYPE_CHAR, 256, "", 0, release, &released, &untouched, &error), QVO_VALUE_ERROR);
    EXPECT_EQ(released, 1);
    EXPECT_EQ(untouched, nullptr);
    EXPECT_STRNE(error.message, "");
}

TEST(Interface, ErrorsNameTheFunctionWithinAndLeaveResultsAsTheyWere) {
    const std::vector<int64_t> values{1, 2, INT64_MAX};
    const Expression x = array(QVO_TYPE_INT8, values);
    const Expression outer = expression("abs", expression("add", x, datum(1)));
    qvo_datum_t result = datum(77);
    qvo_error_t error{};
    EXPECT_EQ(qvo_expression_evaluate(outer.get(), nullptr, &result, &error), QVO_VALUE_ERROR);
    EXPECT_STREQ(error.message, "seq_add: the result does not fit int8 at position 2");
    EXPECT_EQ(result.as.integer, 77);
    EXPECT_EQ(error.code, QVO_VALUE_ERROR);
    const qvo_datum_t few[] = {datum(x)};
    EXPECT_EQ(qvo_call(named("add"), few, 1, nullptr, &result, &error), QVO_VALUE_ERROR);
    EXPECT_STREQ(error.message, "seq_add: wrong number of arguments: 1");
    EXPECT_EQ(qvo_call(named("add"), few, 1, nullptr, &result, nullptr), QVO_VALUE_ERROR) << "nobody asked why";
    EXPECT_EQ(result.as.integer, 77);
    EXPECT_EQ(qvo_function_named("no such function"), nullptr);
}

/// Runs of 1, of some hundreds and of thousands, with ends of a width.
template <class End> void check_runs(unsigned end_width) {
    const std::vector<double> values{1.5, -0.0, 0.0, NAN, 7, 7, 2};
    const std::vector<End> ends{1, 2, 300, 301, 5000, 5001, 9000};
    std::vector<double> expanded;
    for (size_t i = 0; i < values.size(); ++i) expanded.resize(static_cast<size_t>(ends[i]), values[i]);
    for (const auto& [first, count] : {std::pair<size_t, size_t>{0, 9000}, {1, 8998}, {299, 2}, {4999, 2}, {9000, 0}}) {
        qvo_expression_t* made = nullptr;
        qvo_error_t error{};
        ASSERT_EQ(qvo_expression_runs(QVO_TYPE_DOUBLE, 0, values.data(), ends.data(), end_width, values.size(), first,
                                      count, nullptr, nullptr, &made, &error),
                  QVO_VALUE_OK)
            << error.message;
        const Expression runs = owned(made);
        const auto* const from = expanded.data() + first;
        const std::vector<double> part(from, from + count);
        const Expression flat = array(QVO_TYPE_DOUBLE, part);
        EXPECT_TRUE(stored(runs) == stored(flat)) << first;
        void* read_values = nullptr;
        int32_t* read_ends = nullptr;
        uint64_t n = 0;
        ASSERT_EQ(qvo_expression_read_runs(runs.get(), nullptr, &read_values, &read_ends, nullptr, nullptr, &n, &error),
                  QVO_VALUE_OK);
        size_t at = 0;
        for (uint64_t i = 0; i < n; ++i)
            for (; at < static_cast<size_t>(read_ends[i]); ++at)
                EXPECT_EQ(std::memcmp(static_cast<double*>(read_values) + i, from + at, sizeof(double)), 0);
        EXPECT_EQ(at, count);
        EXPECT_TRUE(first != 0 || n == 6) << "the two sevens are one run, not " << n;
        qvo_value_free(read_values);
        qvo_value_free(read_ends);
    }
}

TEST(Interface, RunsComeAndGoAsRuns) {
    check_runs<int16_t>(2);
    check_runs<int32_t>(4);
    check_runs<int64_t>(8);
    const double values[] = {1, 2, 3};
    const std::vector<std::vector<int32_t>> wrong{{0, 1, 2}, {-1, 5, 9}, {1, 1, 2}, {3, 2, 9}, {1, 2, 4}};
    for (const auto& ends : wrong) {
        qvo_expression_t* made = nullptr;
        qvo_error_t error{};
        EXPECT_EQ(
            qvo_expression_runs(QVO_TYPE_DOUBLE, 0, values, ends.data(), 4, 3, 2, 3, nullptr, nullptr, &made, &error),
            QVO_VALUE_ERROR);
        EXPECT_EQ(made, nullptr);
        EXPECT_STRNE(error.message, "");
    }
}

TEST(Interface, TypesAreKnownBeforeValues) {
    const std::vector<int64_t> numbers{9, 10, 11};
    const std::vector<float> two{1, 2};
    const Expression x = array(QVO_TYPE_INT8, numbers), floats = array(QVO_TYPE_FLOAT, two);
    const auto type_of = [](const Expression& e, unsigned* width) {
        qvo_type_t type{};
        EXPECT_EQ(qvo_expression_type(e.get(), nullptr, &type, width, nullptr), QVO_VALUE_OK);
        return type;
    };
    EXPECT_EQ(type_of(expression("add", x, floats), nullptr), QVO_TYPE_DOUBLE) << "lengths are not looked at";
    EXPECT_EQ(type_of(expression("diff", expression("sort", expression("gt", x, datum(5)))), nullptr), QVO_TYPE_DOUBLE);
    EXPECT_EQ(type_of(expression("reverse", expression("filter", x, expression("gt", x, datum(5)))), nullptr),
              QVO_TYPE_INT8);
    const Value name = Value::text("char");
    unsigned width = 0;
    EXPECT_EQ(type_of(expression("reverse", expression("cast", x, name.datum())), &width), QVO_TYPE_CHAR);
    EXPECT_EQ(width, 2u) << "the widest text decides";
}

TEST(Interface, FaultsHaveKindsAndComeEarly) {
    const std::vector<int64_t> large{INT64_MAX, 2};
    const Expression x = array(QVO_TYPE_INT8, large), t = array(QVO_TYPE_TIMESTAMP, large);
    const auto refused = [](const char* name, std::vector<qvo_datum_t> arguments) {
        qvo_expression_t* made = nullptr;
        qvo_error_t error{};
        if (qvo_expression_call(named(name), arguments.data(), arguments.size(), &made, &error) == QVO_VALUE_OK) {
            qvo_datum_t result{};
            EXPECT_EQ(qvo_expression_evaluate(made, nullptr, &result, &error), QVO_VALUE_ERROR) << name;
            qvo_expression_release(made);
            return std::pair{error.fault, false};
        }
        return std::pair{error.fault, true};
    };
    EXPECT_EQ(refused("rolling_mean", {datum(x), datum(0)}), (std::pair{QVO_FAULT_VALUE, true}));
    EXPECT_EQ(refused("rolling_mean", {datum(x)}), (std::pair{QVO_FAULT_TYPE, true}));
    EXPECT_EQ(refused("rolling_mean", {datum(x), datum(x)}), (std::pair{QVO_FAULT_TYPE, true}));
    EXPECT_EQ(refused("cumsum", {datum(t)}), (std::pair{QVO_FAULT_TYPE, true}));
    EXPECT_EQ(refused("add", {datum(t), datum(t)}), (std::pair{QVO_FAULT_TYPE, true}));
    EXPECT_EQ(refused("add", {datum(x), datum(1)}), (std::pair{QVO_FAULT_OVERFLOW, false}));
    EXPECT_EQ(refused("cumsum", {datum(x)}), (std::pair{QVO_FAULT_OVERFLOW, false}));
    EXPECT_EQ(refused("mod", {datum(x), datum(0)}), (std::pair{QVO_FAULT_VALUE, false}));
    EXPECT_EQ(refused("take", {datum(x), datum(x)}), (std::pair{QVO_FAULT_VALUE, false}));
}

TEST(Interface, AggregatesGoOnAfterTheyAreAsked) {
    const std::vector<int32_t> values{1, 2, 3};
    const Expression x = array(QVO_TYPE_INT4, values);
    const qvo_datum_t row = datum(x);
    qvo_aggregate_t *sum = nullptr, *max = nullptr;
    ASSERT_EQ(qvo_aggregate_new(named("sum"), &sum, nullptr), QVO_VALUE_OK);
    ASSERT_EQ(qvo_aggregate_new(named("max"), &max, nullptr), QVO_VALUE_OK);
    for (int64_t expected = 6; expected < 25; expected += 6) {
        qvo_datum_t result{};
        ASSERT_EQ(qvo_aggregate_step(sum, &row, 1, nullptr, nullptr), QVO_VALUE_OK);
        ASSERT_EQ(qvo_aggregate_finish(sum, nullptr, &result, nullptr), QVO_VALUE_OK);
        EXPECT_EQ(take(result).integer, expected);
    }
    qvo_datum_t state{};
    qvo_error_t error{};
    ASSERT_EQ(qvo_aggregate_state(sum, &state, nullptr), QVO_VALUE_OK);
    EXPECT_EQ(qvo_aggregate_merge(max, state.as.bytes.data, state.as.bytes.size, &error), QVO_VALUE_ERROR);
    EXPECT_STREQ(error.message, "seq_max: argument 1: state must be one of this function, got one of sum");
    qvo_datum_free(&state);
    qvo_aggregate_free(sum);
    qvo_aggregate_free(max);
    qvo_aggregate_free(nullptr);
    EXPECT_EQ(qvo_aggregate_new(named("add"), &sum, &error), QVO_VALUE_ERROR);
}

// More rows than are taken at once, of values and keys of changing kinds; one of them may be refused.
TEST(Interface, RowsAtOnceAreRowsOneByOne) {
    const auto packed = [](const std::vector<qvo_datum_t>& rows, size_t at_once, size_t end) {
        qvo_aggregate_t* pack = nullptr;
        EXPECT_EQ(qvo_aggregate_new(named("pack"), &pack, nullptr), QVO_VALUE_OK);
        std::string errors;
        for (size_t i = 0; i < end; i += at_once) {
            qvo_error_t error{};
            if (qvo_aggregate_step_rows(pack, &rows[2 * i], 2, std::min(at_once, end - i), nullptr, &error) !=
                QVO_VALUE_OK)
                errors += error.message;
        }
        qvo_datum_t result{};
        EXPECT_EQ(qvo_aggregate_finish(pack, nullptr, &result, nullptr), QVO_VALUE_OK);
        qvo_aggregate_free(pack);
        return std::pair(take(result).bytes, errors);
    };
    std::vector<qvo_datum_t> rows;
    for (int64_t i = 0; i < 1000; ++i)
        for (const int64_t value : {i, i < 700 ? i : -i}) rows.push_back(datum(value));
    rows[2 * 300] = rows[2 * 600 + 1] = Value{QVO_DATUM_REAL, 0, 0.5, {}}.datum();
    EXPECT_EQ(packed(rows, 1000, 1000), packed(rows, 1, 1000));
    rows[2 * 800 + 1] = {};
    const std::string error = "seq_pack: argument 2: key must not be NULL";
    EXPECT_EQ(packed(rows, 1000, 1000), std::pair(packed(rows, 1, 800).first, error));
}

// Workers of a parallel aggregation may have had no rows.
TEST(Interface, StatesOfNoRowsAreStates) {
    for (size_t i = 0; i < qvo_function_count(); ++i) {
        const qvo_function_t* const function = qvo_function_at(i);
        qvo_function_info_t info;
        qvo_function_describe(function, &info);
        if (!info.has_state) continue;
        qvo_aggregate_t *one, *other;
        qvo_datum_t state;
        qvo_error_t error{};
        ASSERT_EQ(qvo_aggregate_new(function, &one, nullptr), QVO_VALUE_OK);
        ASSERT_EQ(qvo_aggregate_new(function, &other, nullptr), QVO_VALUE_OK);
        ASSERT_EQ(qvo_aggregate_state(one, &state, &error), QVO_VALUE_OK) << error.message;
        EXPECT_EQ(qvo_aggregate_merge(other, state.as.bytes.data, state.as.bytes.size, &error), QVO_VALUE_OK)
            << info.name << ": " << error.message;
        qvo_datum_free(&state);
        qvo_aggregate_free(one);
        qvo_aggregate_free(other);
    }
}

TEST(Interface, LimitsEndACall) {
    // Many positions in a few bytes: more than the budget, and than any patience.
    const Value much = result_of("range", {{QVO_DATUM_INTEGER, 0, 0, {}}, {QVO_DATUM_INTEGER, 300'000'000, 0, {}}});
    const Value few = result_of("range", {{QVO_DATUM_INTEGER, 0, 0, {}}, {QVO_DATUM_INTEGER, 1001, 0, {}}});
    const qvo_limits_t tight{1000, nullptr, nullptr, nullptr};
    for (const char* const name : {"sort", "reverse", "rank", "to_json", "argsort"}) {
        const qvo_datum_t long_one = few.datum();
        qvo_datum_t result{};
        qvo_error_t error{};
        EXPECT_EQ(qvo_call(named(name), &long_one, 1, &tight, &result, &error), QVO_VALUE_ERROR) << name;
        EXPECT_NE(std::string(error.message).find("more than 1000 positions"), std::string::npos) << error.message;
    }
    // By the processor's time, so that other programs make no difference.
    std::clock_t end = 0;
    const auto over = [](void* at) { return int{std::clock() > *static_cast<std::clock_t*>(at)}; };
    const qvo_limits_t patient{UINT64_MAX, over, &end, nullptr};
    for (size_t i = 0; i < qvo_function_count(); ++i) {
        const qvo_function_t* const function = qvo_function_at(i);
        qvo_parameter_info_t first;
        qvo_parameter_describe(function, 0, &first);
        if (info_of(function).fewest != 1 || first.takes != QVO_TAKES_SEQUENCE ||
            info_of(function).kind == QVO_TABLE_FUNCTION)
            continue;
        end = std::clock() + CLOCKS_PER_SEC / 50;
        Outcome out;
        call(function, {much.datum()}, &patient, out);
        EXPECT_LT(std::clock() - end, QVO_TEST_SLOWNESS * CLOCKS_PER_SEC / 10) << info_of(function).name;
        EXPECT_TRUE(out.code != QVO_VALUE_NOMEM) << info_of(function).name;
        out.values();
    }
}

TEST(Interface, StoredSequencesEvaluateToTheirBytes) {
    std::vector<int64_t> values(40'000);
    for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<int64_t>(i * i % 64 == 0 ? i : i % 5);
    const Value plain = stored(array(QVO_TYPE_INT8, values)), small = result_of("compress", {plain});
    EXPECT_LT(small.bytes.size(), plain.bytes.size());
    for (const Value* const value : {&plain, &small}) {
        std::string bytes = value->bytes;
        qvo_expression_t* e = nullptr;
        ASSERT_EQ(qvo_expression_stored(bytes.data(), bytes.size(), nullptr, nullptr, &e, nullptr), QVO_VALUE_OK);
        const Expression expression = owned(e);
        EXPECT_TRUE(stored(expression) == *value);
        bytes[200] ^= 1;  // checked, all the same
        qvo_datum_t result{};
        EXPECT_EQ(qvo_expression_evaluate(e, nullptr, &result, nullptr), QVO_VALUE_ERROR);
    }
}

TEST(Interface, RecentResultsAreKnownByPlaceAndHeader) {
    const std::unique_ptr<qvo_recent_t, decltype(&qvo_recent_free)> recent(qvo_recent_new(), qvo_recent_free);
    const qvo_limits_t remember{0, nullptr, nullptr, recent.get()};
    const auto calls = [&](const char* name, const std::vector<qvo_datum_t>& arguments, const qvo_limits_t* limits) {
        Outcome out;
        call(named(name), arguments, limits, out);
        EXPECT_EQ(out.code, QVO_VALUE_OK) << name << ": " << out.error.message;
        return out.results;
    };
    // With runs and without, within a tile and beyond, and what NaN becomes.
    for (const size_t n : {5, 1000, 8192, 20'000}) {
        std::vector<double> values = wave(n), steps(n);
        for (size_t i = 0; i < n; ++i) steps[i] = static_cast<double>(i * i % 1009) / 8;
        steps[n / 2] = std::nan("");
        const Value runs = stored(array(QVO_TYPE_DOUBLE, values)), x = stored(array(QVO_TYPE_DOUBLE, steps));
        const auto chain = [&](const qvo_limits_t* limits) {
            const qvo_datum_t above = calls("gt", {x.datum(), runs.datum()}, limits)[0];
            const qvo_datum_t negative = calls("neg", {x.datum()}, limits)[0];
            const qvo_datum_t kept = calls("filter", {negative, above}, limits)[0];
            const qvo_datum_t chosen = calls("where", {above, negative, runs.datum()}, limits)[0];
            std::vector<Value> all;
            for (qvo_datum_t result : {calls("sum", {kept}, limits)[0], calls("append", {chosen, kept}, limits)[0],
                                       above, negative, kept, chosen})
                all.push_back(take(result));
            return all;
        };
        EXPECT_TRUE(chain(&remember) == chain(nullptr)) << n;
    }
    std::vector<double> values(3000);
    for (size_t i = 0; i < values.size(); ++i) values[i] = std::sqrt(static_cast<double>(i + 1));
    const Value x = stored(array(QVO_TYPE_DOUBLE, values));
    qvo_datum_t negative = calls("neg", {x.datum()}, &remember)[0];
    const auto again = [&] {
        qvo_datum_free(&negative);
        negative = calls("neg", {x.datum()}, &remember)[0];
        return static_cast<char*>(const_cast<void*>(negative.as.bytes.data));
    };
    const auto sum_of = [&](const qvo_limits_t* limits) { return calls("sum", {negative}, limits)[0].as.real; };
    const double sum = sum_of(&remember);
    // Where a result lay there may be another value later, of the same size and with the same values but one.
    values[7] = 1000;
    const Value other = stored(expression("neg", array(QVO_TYPE_DOUBLE, values)));
    ASSERT_EQ(other.bytes.size(), negative.as.bytes.size);
    std::memcpy(again(), other.bytes.data(), other.bytes.size());
    EXPECT_EQ(sum_of(&remember), sum_of(nullptr));
    EXPECT_NE(sum_of(&remember), sum);
    // Rows last longer than what is remembered.
    again();
    qvo_rows_t* rows = nullptr;
    ASSERT_EQ(qvo_rows_open(named("rows"), &negative, 1, 0, UINT64_MAX, &remember, &rows, nullptr), QVO_VALUE_OK);
    for (int i = 0; i < 5; ++i) {
        qvo_datum_t unused = calls("abs", {x.datum()}, &remember)[0];
        qvo_datum_free(&unused);
    }
    double total = 0;
    for (qvo_datum_t value{}; qvo_rows_next(rows, nullptr) == QVO_VALUE_OK; total += value.as.real)
        ASSERT_EQ(qvo_rows_column(rows, 1, &value, nullptr), QVO_VALUE_OK);
    qvo_rows_free(rows);
    EXPECT_NEAR(2 * total, sum, 1e-6) << "which is of two rows";
    // What is known is not read: damage after the header is not seen there, and is elsewhere.
    again()[100] ^= 1;
    EXPECT_EQ(sum_of(&remember), sum);
    Outcome damaged;
    call(named("sum"), {negative}, nullptr, damaged);
    EXPECT_EQ(damaged.code, QVO_VALUE_ERROR);
    damaged.values();
    qvo_datum_free(&negative);
}

TEST(Interface, PartsOfStoredSequencesAreReadInPlace) {
    // Ascending with long and short runs, over several tiles.
    std::vector<int64_t> all;
    for (int64_t i = 0; all.size() < 30'000; ++i)
        all.insert(all.end(), i % 977 == 0 ? 700 : static_cast<size_t>(i % 3 + 1), i * i);
    const Value x = stored(array(QVO_TYPE_TIMESTAMP, all));
    qvo_type_t type;
    unsigned width;
    uint64_t n = 0;
    ASSERT_EQ(qvo_stored_describe(x.bytes.data(), x.bytes.size(), &type, &width, &n, nullptr), QVO_VALUE_OK);
    EXPECT_TRUE(type == QVO_TYPE_TIMESTAMP && width == 8 && n == all.size());
    const auto read = [&](uint64_t first, uint64_t count) {
        std::vector<int64_t> part(count);
        EXPECT_EQ(qvo_stored_read(x.bytes.data(), x.bytes.size(), first, count, part.data(), nullptr), QVO_VALUE_OK);
        return part;
    };
    for (uint64_t first = 0; first < n; first += 811)
        for (uint64_t count : {uint64_t{1}, uint64_t{300}, uint64_t{9000}, n}) {
            count = std::min(count, n - first);
            EXPECT_TRUE(std::equal(all.begin() + static_cast<int64_t>(first),
                                   all.begin() + static_cast<int64_t>(first + count), read(first, count).begin()))
                << first << ' ' << count;
        }
    for (size_t i = 0; i < all.size(); i += 501)
        for (const int64_t value : {all[i] - 1, all[i], all[i] + 1})
            for (const int or_equal : {0, 1}) {
                uint64_t found = 0;
                qvo_stored_find(x.bytes.data(), x.bytes.size(), &value, or_equal, &found, nullptr);
                const auto model = or_equal != 0 ? std::upper_bound(all.begin(), all.end(), value)
                                                 : std::lower_bound(all.begin(), all.end(), value);
                EXPECT_EQ(found, static_cast<uint64_t>(model - all.begin())) << value;
            }
    int64_t value;
    qvo_error_t error{};
    EXPECT_EQ(qvo_stored_read(x.bytes.data(), x.bytes.size(), n, 1, &value, &error), QVO_VALUE_ERROR);
    EXPECT_EQ(qvo_stored_read(x.bytes.data(), x.bytes.size(), 1, UINT64_MAX, &value, &error), QVO_VALUE_ERROR);
    EXPECT_EQ(qvo_stored_describe(x.bytes.data(), 50, &type, &width, &n, &error), QVO_VALUE_ERROR);
}

TEST(Interface, ElementsAreScalarsOfTheirType) {
    ASSERT_TRUE([] {
        qvo_type_t type;
        unsigned width;
        return qvo_type_named("char(7)", &type, &width) != 0 && type == QVO_TYPE_CHAR && width == 7 &&
               qvo_type_named("char(0)", &type, &width) == 0;
    }());
    const auto there_and_back = [](const Value& value, qvo_type_t type, unsigned width) {
        uint8_t element[255];
        const qvo_datum_t from = value.datum();
        qvo_datum_t to{};
        qvo_error_t error{};
        if (qvo_element_set(&from, type, width, element, &error) != QVO_VALUE_OK) return Value::text(error.message);
        EXPECT_EQ(qvo_element_get(type, width, element, &to, &error), QVO_VALUE_OK);
        return take(to);
    };
    const Value day = Value::text("2026-01-31"), three{QVO_DATUM_INTEGER, 3, 0, {}}, none{};
    EXPECT_EQ(there_and_back(day, QVO_TYPE_TIMESTAMP, 0), Value::text("2026-01-31T00:00:00"));
    EXPECT_EQ(there_and_back(day, QVO_TYPE_CHAR, 10), day);
    EXPECT_EQ(there_and_back(day, QVO_TYPE_CHAR, 9), Value::text("'2026-01-31' does not fit char(9)"));
    EXPECT_EQ(there_and_back(three, QVO_TYPE_FLOAT, 0), (Value{QVO_DATUM_REAL, 0, 3, {}}));
    EXPECT_EQ(there_and_back(three, QVO_TYPE_BOOLEAN, 0), Value::text("3 does not fit boolean"));
    EXPECT_EQ(there_and_back(none, QVO_TYPE_DOUBLE, 0), none);
    EXPECT_EQ(there_and_back(none, QVO_TYPE_INT4, 0), Value::text("NULL does not fit int4"));
}

}  // namespace
}  // namespace test
