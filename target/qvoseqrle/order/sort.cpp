// Sorting an array by permutation: the values stay, an array of positions is put in order.
//
// The result is specified down to the order of equal values, so the steps below are fixed: which pivots are drawn,
// what is swapped with what, when a slice is left alone. Speed may come only from doing the same swaps with fewer
// branches and fewer loads. All tests are `greater than`, and false with a NaN on either side; the scans below carry
// no bounds tests and say why they need none, with NaNs too.
//
// "Slice" is a part of the permutation; a slice position k holds a position of the data, data[slice[k]] is its value.
#include <algorithm>
#include <atomic>
#include <bit>
#include <iterator>

#include "core/move.h"

namespace qvo {
namespace {

// Slices of up to so many positions are sorted by insertion.
constexpr size_t most_inserted = 50;

// Positions on either side that a partition looks at together.
constexpr size_t partition_block = 64;

// Slices of more positions refer to values that are not in the nearest cache: they are asked for a block ahead.
constexpr size_t most_in_cache = 20000;

// Values per look for the end of an order.
constexpr size_t order_block = 256;

/// The generator of pivot positions, one per element type. It is never reset: pivots depend on all earlier sorts of
/// the type in the process. Threads that sort at the same time may draw the same number, or one may miss a draw; that
/// changes pivots, and the order of equal values with them, but nothing else.
class PivotSeed {
 public:
    uint32_t draw() {
        const uint32_t next = seed_.load(std::memory_order_relaxed) * 69069U + 362437U;
        seed_.store(next, std::memory_order_relaxed);
        return next;
    }

 private:
    std::atomic<uint32_t> seed_{123456789};
};

struct Ascending {
    template <class V> QVO_INLINE static bool breaks(V value, V next) { return value > next; }
};
struct Descending {
    template <class V> QVO_INLINE static bool breaks(V value, V next) { return next > value; }
};

/// The number of leading values, of `n` at most, no two neighbours of which break the order. (n is 1 or more.)
template <class V, class Order> QVO_INLINE size_t ordered_prefix(const V* data, size_t n) {
    size_t i = 0;
    for (; i + order_block < n; i += order_block) {
        bool broken = false;
        for (size_t k = 0; k < order_block; ++k) broken |= Order::breaks(data[i + k], data[i + k + 1]);
        if (broken) break;
    }
    while (i + 1 < n && !Order::breaks(data[i], data[i + 1])) ++i;
    return i + 1;
}

template <class V> bool is_sorted(const V* data, size_t n) {
    return for_cpu<ordered_prefix<V, Ascending>>(data, n) >= n;
}
template <class V> bool is_rev_sorted(const V* data, size_t n) {
    return for_cpu<ordered_prefix<V, Descending>>(data, n) >= n;
}

void init_permutation(qvo_seq_no_t* permutation, size_t n, qvo_seq_order_t order) {
    if (order == QVO_SEQ_DESC_ORDER)
        for (size_t i = 0; i < n; ++i) permutation[i] = n - 1 - i;
    else
        for (size_t i = 0; i < n; ++i) permutation[i] = i;
}

/// The first smallest of the positions 1 .. n-1 of a slice goes to position 0 if the value there is greater.
template <class V> QVO_INLINE void smallest_first(const V* data, qvo_seq_no_t* slice, size_t n) {
    size_t smallest = 1;
    V lowest = data[slice[1]];
    for (size_t k = 2; k < n; ++k) {
        const V value = data[slice[k]];
        const bool lower = lowest > value;
        smallest = lower ? k : smallest;
        lowest = lower ? value : lowest;
    }
    if (data[slice[0]] > lowest) std::swap(slice[0], slice[smallest]);
}

/// Insertion sort of n >= 2 positions. The walk down stops at a value that is not greater, and one always comes by
/// position 0:
///   - with a NaN at position 1, that counts as the first smallest, nothing is swapped, and no walk ever passes it;
///   - else the first smallest is the smallest of the values at 1 .. n-1 that are not NaN. With a NaN at position 0,
///     that ends every walk; else the smaller of the two does, which is then at position 0.
template <class V> void insertion_sort(const V* data, qvo_seq_no_t* slice, size_t n) {
    if (n < 2) return;
    smallest_first(data, slice, n);
    for (size_t k = 2; k < n; ++k) {
        const qvo_seq_no_t position = slice[k];
        const V value = data[position];
        size_t hole = k;
        for (; data[slice[hole - 1]] > value; --hole) slice[hole] = slice[hole - 1];
        slice[hole] = position;
    }
}

/// The same for up to most_inserted positions. Insertion leaves an ordered slice alone; and without NaNs it is a stable
/// sort of what smallest_first left: a position ends up after as many others as have smaller values, or equal ones
/// further ahead. Comparing all with all in vectors is faster than inserting, which waits for a branch that cannot be
/// foreseen at every position.
template <class V> QVO_INLINE void sort_short(const V* data, qvo_seq_no_t* slice, size_t n) {
    if (n < 2) return;
    smallest_first(data, slice, n);
    V values[most_inserted];
    for (size_t k = 0; k < n; ++k) values[k] = data[slice[k]];
    bool in_order = true, comparable = true;
    for (size_t k = 1; k < n; ++k) in_order &= !(values[k - 1] > values[k]);
    if (in_order) return;
    for (size_t k = 0; k < n; ++k) comparable &= values[k] == values[k];
    if (!comparable) return insertion_sort(data, slice, n);

    using Count = unsigned_of<sizeof(V)>;  // as wide as a value, so that a vector holds as many of either
    Count ahead[most_inserted] = {};
    for (size_t j = 0; j < n; ++j) {
        const V value = values[j];
        for (size_t k = 0; k < j; ++k) ahead[k] = static_cast<Count>(ahead[k] + (values[k] > value));
        for (size_t k = j + 1; k < n; ++k) ahead[k] = static_cast<Count>(ahead[k] + !(value > values[k]));
    }
    qvo_seq_no_t sorted[most_inserted];
    for (size_t k = 0; k < n; ++k) sorted[ahead[k]] = slice[k];
    std::copy(sorted, sorted + n, slice);
}

/// Moves the position at `hole` down the heap 0 .. last to where it belongs. The children of i are 2i and 2i+1, so
/// position 0 has itself as a child: deliberate, the result depends on it.
template <class V> void sift_down(const V* data, qvo_seq_no_t* slice, size_t hole, size_t last) {
    const qvo_seq_no_t position = slice[hole];
    const V value = data[position];
    size_t child = 2 * hole;
    while (last > child) {
        if (data[slice[child + 1]] > data[slice[child]]) ++child;
        if (!(data[slice[child]] > value)) break;
        slice[hole] = slice[child];
        hole = child;
        child *= 2;
    }
    if (child == last && data[slice[child]] > value) {
        slice[hole] = slice[child];
        hole = child;
    }
    slice[hole] = position;
}

template <class V> void heap_sort(const V* data, qvo_seq_no_t* slice, size_t n) {
    if (n < 2) return;
    const size_t last = n - 1;
    for (size_t i = last / 2 + 1; i-- != 0;) sift_down(data, slice, i, last);
    std::swap(slice[0], slice[last]);
    for (size_t k = last - 1; k != 0; --k) {
        sift_down(data, slice, 0, k);
        std::swap(slice[0], slice[k]);
    }
}

/// Draws a position, brings it to the front and rearranges positions 0, 1 and n-1 (n >= 3): afterwards 0 holds the
/// pivot, and neither is the value at 1 greater than the pivot nor the pivot greater than the value at n-1. Every
/// case ends so with NaNs too: each of the two tests is one that was found false, or the reverse of one found true.
template <class V> void median_estimate(const V* data, qvo_seq_no_t* slice, size_t n, PivotSeed& seed) {
    std::swap(slice[0], slice[seed.draw() % (n - 1)]);
    const qvo_seq_no_t first = slice[0], second = slice[1], last = slice[n - 1];
    const V a = data[first], b = data[second], c = data[last];
    const auto set = [slice, n](qvo_seq_no_t pivot, qvo_seq_no_t low, qvo_seq_no_t high) {
        slice[0] = pivot;
        slice[1] = low;
        slice[n - 1] = high;
    };
    if (b > a) {
        if (!(c > a))
            set(first, last, second);
        else if (b > c)
            set(last, first, second);
        else
            set(second, first, last);
    } else if (a > c) {
        if (b > c)
            set(second, last, first);
        else
            set(last, second, first);
    }
}

/// Partitions the slice around the pivot at position 0 and returns where the pivot ends up. Scans from either side
/// stop at values that are not less, or not greater, than the pivot; the k-th stop from the left is swapped with the
/// k-th from the right until they meet.
///
/// The scans need no bounds tests: positions 1 and n-1 are stops (median_estimate), and of two positions that were
/// swapped the left one stops the scan from the right and the right one the scan from the left. So the scan from the
/// left ends at n-1 at the latest, that from the right at 1, and 1 <= result <= n-2.
template <class V> size_t partition(const V* data, qvo_seq_no_t* slice, size_t n) {
    const V pivot = data[slice[0]];
    size_t i = 1, j = n - 1;  // all up to i, and all from j on, are done

    // As long as the sides are far apart, the stops of a block are collected first, and then swapped pair by pair: no
    // branch depends on a value, and the loads of a block do not wait for each other.
    const bool ask_ahead = n > most_in_cache;
    uint8_t left[partition_block], right[partition_block];
    size_t n_left = 0, n_right = 0, at_left = 0, at_right = 0;
    while (j - i > 2 * partition_block) {
        if (n_left == 0) {
            at_left = 0;
            for (size_t k = 0; k < partition_block; ++k) {
                if (ask_ahead) __builtin_prefetch(&data[slice[i + 1 + k + partition_block]]);
                left[n_left] = static_cast<uint8_t>(k);
                n_left += !(pivot > data[slice[i + 1 + k]]);
            }
        }
        if (n_right == 0) {
            at_right = 0;
            for (size_t k = 0; k < partition_block; ++k) {
                if (ask_ahead) __builtin_prefetch(&data[slice[j - 1 - k - partition_block]]);
                right[n_right] = static_cast<uint8_t>(k);
                n_right += !(data[slice[j - 1 - k]] > pivot);
            }
        }
        const size_t pairs = std::min(n_left, n_right);
        if (pairs == partition_block)  // every position is a stop: values that are mostly equal
            std::swap_ranges(slice + i + 1, slice + i + 1 + pairs, std::make_reverse_iterator(slice + j));
        else
            for (size_t k = 0; k < pairs; ++k)
                std::swap(slice[i + 1 + left[at_left + k]], slice[j - 1 - right[at_right + k]]);
        at_left += pairs;
        at_right += pairs;
        n_left -= pairs;
        n_right -= pairs;
        if (n_left == 0) i += partition_block;
        if (n_right == 0) j -= partition_block;
    }
    // The rest goes step by step, from right before the first stop that is not swapped yet.
    if (n_left != 0) i += left[at_left];
    if (n_right != 0) j -= right[at_right];
    for (;;) {
        do ++i;
        while (pivot > data[slice[i]]);
        do --j;
        while (data[slice[j]] > pivot);
        if (j <= i) break;
        std::swap(slice[i], slice[j]);
    }
    std::swap(slice[0], slice[j]);
    return j;
}

/// Sorts a slice of n positions; `ascending` is the length of the ordered prefix of the data (n is enough).
template <class V>
void qloop(const V* data, qvo_seq_no_t* slice, size_t n, unsigned depth, size_t ascending, PivotSeed& seed) {
    while (n > most_inserted) {
        // Deliberate: what counts is the order of the first n values of the data, not of the values of this slice. A
        // slice that is no longer than the ascending start of the data is left as it is.
        if (n <= ascending) return;
        if (depth == 0) return heap_sort(data, slice, n);
        --depth;
        median_estimate(data, slice, n, seed);
        const size_t pivot = partition(data, slice, n);
        qloop(data, slice + pivot + 1, n - 1 - pivot, depth, ascending, seed);  // no deeper than `depth`
        n = pivot;
    }
    for_cpu<sort_short<V>>(data, slice, n);
}

template <class V>
void sort(const V* data, qvo_seq_no_t* permutation, size_t n, qvo_seq_order_t order, PivotSeed& seed) {
    const size_t ascending = n <= 1 ? n : for_cpu<ordered_prefix<V, Ascending>>(data, n);
    if (ascending >= n) return init_permutation(permutation, n, order);
    // Deliberate: without an order, descending values stay as they are, while all others are sorted.
    if (is_rev_sorted(data, n))
        return init_permutation(permutation, n, order == QVO_SEQ_ASC_ORDER ? QVO_SEQ_DESC_ORDER : QVO_SEQ_ASC_ORDER);
    init_permutation(permutation, n, QVO_SEQ_ASC_ORDER);
    const unsigned depth = 2 * (2 + static_cast<unsigned>(std::bit_width(n / 4)));
    qloop(data, permutation, n, depth, ascending, seed);
    if (order == QVO_SEQ_DESC_ORDER) std::reverse(permutation, permutation + n);
}

}  // namespace

// datetime and uint8 are one C++ type and share the code, but not the seed.
#define STAMP(type)                                                                                                    \
    static PivotSeed seed_##type;                                                                                      \
    extern "C" QVO_API QVO_RET qvo_seq_sort_##type(const qvo_##type* data, qvo_seq_no_t* permutation,                  \
                                                   qvo_size_t n_elems, qvo_seq_order_t order) {                        \
        sort(data, permutation, n_elems, order, seed_##type);                                                          \
        return QVO_S_OK;                                                                                               \
    }                                                                                                                  \
    extern "C" QVO_PLAIN_NAME qvo_bool sorted_##type(const qvo_##type* data, qvo_size_t n) {                           \
        return is_sorted(data, n);                                                                                     \
    }                                                                                                                  \
    extern "C" QVO_PLAIN_NAME qvo_bool rev_sorted_##type(const qvo_##type* data, qvo_size_t n) {                       \
        return is_rev_sorted(data, n);                                                                                 \
    }                                                                                                                  \
    extern "C" QVO_PLAIN_NAME void init_permutation_##type(qvo_seq_no_t* permutation, qvo_size_t n_elems,              \
                                                           qvo_seq_order_t order) {                                    \
        init_permutation(permutation, n_elems, order);                                                                 \
    }                                                                                                                  \
    extern "C" QVO_PLAIN_NAME void insertion_sort_##type(const qvo_##type* data, qvo_seq_no_t* permutation,            \
                                                         qvo_size_t n_elems) {                                         \
        insertion_sort(data, permutation, n_elems);                                                                    \
    }                                                                                                                  \
    extern "C" QVO_PLAIN_NAME void median_estimate_##type(const qvo_##type* data, qvo_seq_no_t* permutation,           \
                                                          qvo_size_t n) {                                              \
        median_estimate(data, permutation, n, seed_##type);                                                            \
    }                                                                                                                  \
    extern "C" QVO_PLAIN_NAME void heap_sort_##type(const qvo_##type* data, qvo_seq_no_t* permutation,                 \
                                                    qvo_size_t n_elems) {                                              \
        heap_sort(data, permutation, n_elems);                                                                         \
    }                                                                                                                  \
    extern "C" QVO_PLAIN_NAME void qloop_##type(const qvo_##type* data, qvo_seq_no_t* permutation, qvo_size_t n_elems, \
                                                unsigned d) {                                                          \
        const size_t ascending =                                                                                       \
            n_elems <= most_inserted ? 0 : for_cpu<ordered_prefix<qvo_##type, Ascending>>(data, n_elems);              \
        qloop(data, permutation, n_elems, d, ascending, seed_##type);                                                  \
    }
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

}  // namespace qvo
