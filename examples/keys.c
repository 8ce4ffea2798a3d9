/* Grouping by a key wherever it occurs, and counting different values. */
#include "questions.h"
#include "report.h"

enum { MAX_KINDS = 16 };

/* An aggregate by the kind of the day: two results, read in step, over one table. */
typedef struct {
    qvo_seq_iterator_t values, kinds, aggregate, keys;
} by_kind_t;

static void open_mean_by_kind(by_kind_t* q, const column_t* values, const column_t* kinds) {
    open_column(&q->values, values);
    open_column(&q->kinds, kinds);
    MUST(qvo_seq_hash_agg_avg_double(&q->aggregate, &q->keys, &q->values, &q->kinds, MAX_KINDS));
}

static void open_days_by_kind(by_kind_t* q, const column_t* kinds) {
    open_column(&q->kinds, kinds);
    MUST(qvo_seq_hash_agg_count(&q->aggregate, &q->keys, &q->kinds, MAX_KINDS));
}

/* The table of one city takes in that of the other, which is empty then. */
static void merge_tables(by_kind_t* into, by_kind_t* from) {
    MUST(into->aggregate.prepare(&into->aggregate));
    MUST(from->aggregate.prepare(&from->aggregate));
    MUST(into->aggregate.merge(&into->aggregate, &from->aggregate));
    qvo_seq_free_hash(&from->aggregate);
}

/* Tables with the same keys and the same number of chains deliver in the same order. */
static void kinds_of_days(const station_t* a, const station_t* b) {
    by_kind_t days, other_days, highs, other_highs;
    char kinds[MAX_KINDS][KIND_WIDTH];
    qvo_uint8 n_days[MAX_KINDS];
    qvo_double means[MAX_KINDS];
    qvo_size_t n_kinds = MAX_KINDS, n_counts = MAX_KINDS, n_means = MAX_KINDS;

    open_days_by_kind(&days, &a->kind);
    open_days_by_kind(&other_days, &b->kind);
    open_mean_by_kind(&highs, &a->high, &a->kind);
    open_mean_by_kind(&other_highs, &b->high, &b->kind);
    merge_tables(&days, &other_days);
    merge_tables(&highs, &other_highs);
    MUST(qvo_seq_get_char(&days.keys, kinds[0], &n_kinds));
    MUST(qvo_seq_get_uint8(&days.aggregate, n_days, &n_counts));
    MUST(qvo_seq_get_double(&highs.aggregate, means, &n_means));
    qvo_seq_free_hash(&days.aggregate);
    qvo_seq_free_hash(&highs.aggregate);

    answer("Kinds of days: number, mean high", "%llu kinds in both", (unsigned long long)n_kinds);
    for (qvo_size_t i = 0; i < n_kinds; ++i)
        detail("%.*s %5llu days  %5.2f degrees", KIND_WIDTH, kinds[i], (unsigned long long)n_days[i], means[i]);
}

/* The groups of a table are the different values; the sketch makes do with 128 bytes. */
static void different_highs(const station_t* station) {
    qvo_seq_iterator_t high, days, values, exact, sketched, estimate;
    qvo_uint8 n;
    qvo_uint4 n_estimated;
    open_column(&high, &station->high);
    MUST(qvo_seq_hash_agg_count(&days, &values, &high, 0));
    MUST(qvo_seq_agg_count(&exact, &values));
    MUST(qvo_seq_next_uint8(&exact, &n));
    qvo_seq_free_hash(&days);
    answer("Different highs", "%llu in %s", (unsigned long long)n, station->name);

    open_column(&sketched, &station->high);
    MUST(qvo_seq_agg_approxdc(&estimate, &sketched));
    MUST(qvo_seq_next_uint4(&estimate, &n_estimated));
    answer("  estimated", "%lu in %s", (unsigned long)n_estimated, station->name);
}

void ask_about_keys(const station_t* a, const station_t* b) {
    section("Keys and different values");
    kinds_of_days(a, b);
    different_highs(a);
    different_highs(b);
}
