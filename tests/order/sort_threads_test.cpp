// Sorts of one type in several threads: they share the generator of pivots, and nothing else. Built with the thread
// sanitizer, this shows that the generator is no data race.
#include <algorithm>
#include <thread>

#include "support/types.h"

namespace test {
namespace {

TEST(SortThreads, SortsOfOneTypeMayRunAtTheSameTime) {
    constexpr size_t n_threads = 8, n = 20000;
    std::vector<qvo_seq_no_t> sorted[n_threads];
    // Distinct values, so that the result does not depend on the pivots; the first two descend.
    std::vector<double> data(n);
    for (size_t i = 0; i < n; ++i) data[i] = static_cast<double>((i * 7919 + 5) % 20011);
    data[0] = 1e6;
    std::vector<std::thread> threads;
    for (auto& permutation : sorted)
        threads.emplace_back([&permutation, &data] {
            for (int round = 0; round < 3; ++round) {
                permutation.assign(n, 0);
                qvo_seq_sort_double(data.data(), permutation.data(), n, QVO_SEQ_ASC_ORDER);
            }
        });
    for (std::thread& thread : threads) thread.join();
    std::vector<qvo_seq_no_t> expected(n);
    for (size_t i = 0; i < n; ++i) expected[i] = i;
    std::sort(expected.begin(), expected.end(), [&data](auto a, auto b) { return data[a] < data[b]; });
    for (const auto& permutation : sorted) EXPECT_TRUE(permutation == expected);
}

}  // namespace
}  // namespace test
