#include "evaluate/deliver.h"

#include "core/move.h"
#include "evaluate/recent.h"

namespace qvo::value {

namespace {

Buffer write(Plan& plan, const Series& series, Writer& writer) {
    if (series.length) writer.expect(*series.length);
    for_each_tile(plan, series,
                  [&](const void* values, const uint8_t* runs, size_t n) { writer.put(values, runs, n); });
    return writer.finish();
}

}  // namespace

Buffer to_stored(Plan& plan, const Series& series, WriterOptions options) {
    Writer writer(series.type, std::move(options));
    return write(plan, series, writer);
}

Buffer checked_copy(Plan& plan, const Stored& stored) {
    TileReader reader(stored);
    for (size_t i = 0; i < stored.n_tiles(); ++i) {
        plan.poll();
        reader.open(i);
    }
    return Buffer(stored.bytes());
}

Buffer to_result(Plan& plan, const Series& series) {
    Writer writer(series.type);
    Buffer stored = write(plan, series, writer);
    if (Recent* const recent = plan.limits().recent; recent != nullptr)
        recent->keep(stored, series.type, writer.values());
    return stored;
}

RunBuffers to_runs(Plan& plan, const Series& series) {
    const size_t width = series.type.width;
    RunBuffers all;
    uint64_t position = 0;
    for_each_tile(plan, series, [&](const char* values, const uint8_t* runs, size_t n) {
        if (sum_runs(runs, n) > INT32_MAX - position)
            throw Error(Fault::limit, "more than 2147483647 positions do not fit the ends of runs");
        plan.within_budget(all.n + n);
        // Written after the last one, to stay there if it differs: a branch would often be foreseen wrongly.
        all.values.resize((all.n + n) * width);
        all.ends.resize((all.n + n) * sizeof(int32_t));
        with_mover(width, [&](auto mover) {
            uint8_t* const to = all.values.data();
            size_t last = all.n;
            for (size_t i = 0; i < n; ++i) {
                mover.move(to, last, values, i);
                const uint8_t* const value = to + last * mover.width();
                last += last == 0 || std::memcmp(value - mover.width(), value, mover.width()) != 0;
                const auto end = static_cast<int32_t>(position += get_run(runs, i));
                std::memcpy(all.ends.data() + (last - 1) * sizeof end, &end, sizeof end);
            }
            all.n = last;
        });
    });
    all.values.resize(all.n * width);
    all.ends.resize(all.n * sizeof(int32_t));
    return all;
}

Buffer to_array(Plan& plan, const Series& series) {
    const size_t width = series.type.width;
    Buffer all;
    if (series.length) {
        plan.within_budget(*series.length);
        all.reserve(*series.length * width);
    }
    for_each_tile(plan, series, [&](const void* values, const uint8_t* runs, size_t n) {
        if (leading_single_runs(runs, n) == n) {
            plan.within_budget(all.size() / width + n);
            all.append(values, n * width);
            return;
        }
        const uint64_t positions = sum_runs(runs, n);
        plan.within_budget(all.size() / width + positions);
        uint8_t* const to = all.extend(positions * width);
        with_mover(width, [&](auto mover) {
            for (size_t i = 0, at = 0; i < n; at += get_run(runs, i), ++i)
                mover.fill(to, at, values, i, get_run(runs, i));
        });
    });
    return all;
}

}  // namespace qvo::value
