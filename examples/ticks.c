/*
 * Ten million ticks, three ways: rows of a plain SQLite table, chunk rows of sequences, and the operators over arrays in
 * memory. The same questions in one run, with their times and sizes side by side.
 *
 *     ticks EXTENSION PLAIN.db CHUNKS.db [N]
 *
 * PLAIN.db gets a table `raw`, a row a tick; CHUNKS.db a table `ticks`, a row for each symbol and day.
 */
#include <inttypes.h>
#include <math.h>
#include <sqlite3.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

#include "qvoseq.h"

enum { SYMBOLS = 100, DAYS = 20, NAME = 8 };

typedef struct {
    size_t n;
    double* price;
    int32_t* volume;
    int32_t* symbol;
} columns_t;

static double seconds(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec + (double)now.tv_nsec * 1e-9;
}

static void fail(const char* what, const char* why) {
    fprintf(stderr, "ticks: %s: %s\n", what, why);
    exit(1);
}

static void must(int rc, sqlite3* db, const char* what) {
    if (rc != SQLITE_OK && rc != SQLITE_DONE && rc != SQLITE_ROW) fail(what, sqlite3_errmsg(db));
}

static void run(sqlite3* db, const char* sql) { must(sqlite3_exec(db, sql, NULL, NULL, NULL), db, sql); }

/* Runs a query; returns its first value, or the sum of its last column over all rows. */
static double ask(sqlite3* db, const char* sql, double* took) {
    sqlite3_stmt* statement;
    const double start = seconds();
    double sum = 0;
    must(sqlite3_prepare_v2(db, sql, -1, &statement, NULL), db, sql);
    int rc;
    while ((rc = sqlite3_step(statement)) == SQLITE_ROW)
        sum += sqlite3_column_double(statement, sqlite3_column_count(statement) - 1);
    must(rc, db, sql);
    sqlite3_finalize(statement);
    *took = seconds() - start;
    return sum;
}

static uint64_t random_state = 88172645463325252u;
static uint32_t next_random(void) {
    random_state ^= random_state << 13;
    random_state ^= random_state >> 7;
    random_state ^= random_state << 17;
    return (uint32_t)(random_state >> 32);
}

/* A random walk in cents for each symbol, at irregular times; volumes mostly small. Day after day, as they come. */
static void insert_ticks(sqlite3* db, columns_t* columns) {
    sqlite3_stmt* statement;
    static int64_t cents[SYMBOLS];
    const int64_t day_us = INT64_C(86400000000), first = INT64_C(1767225600000000); /* 2026-01-01 */
    const size_t per_day = columns->n / DAYS / SYMBOLS;
    run(db, "CREATE TABLE raw(symbol TEXT, time INTEGER, price REAL, volume INTEGER); BEGIN");
    must(sqlite3_prepare_v2(db, "INSERT INTO raw VALUES (?, ?, ?, ?)", -1, &statement, NULL), db, "INSERT");
    for (int s = 0; s < SYMBOLS; ++s) cents[s] = 1000 + next_random() % 30000;
    size_t i = 0;
    for (int day = 0; day < DAYS; ++day)
        for (int s = 0; s < SYMBOLS; ++s) {
            char name[NAME];
            snprintf(name, sizeof name, "SYM%02d", s);
            int64_t time = first + day * day_us;
            const uint32_t gap = (uint32_t)(day_us / (int64_t)per_day);
            for (size_t k = 0; k < per_day; ++k, ++i) {
                time += next_random() % gap;
                cents[s] += (int64_t)(next_random() % 7) - 3;
                if (cents[s] < 100) cents[s] = 100;
                columns->price[i] = (double)cents[s] / 100;
                columns->volume[i] = (int32_t)(1 + next_random() % 2000);
                columns->symbol[i] = s;
                sqlite3_bind_text(statement, 1, name, -1, SQLITE_STATIC);
                sqlite3_bind_int64(statement, 2, time);
                sqlite3_bind_double(statement, 3, columns->price[i]);
                sqlite3_bind_int(statement, 4, columns->volume[i]);
                must(sqlite3_step(statement), db, "INSERT");
                sqlite3_reset(statement);
            }
        }
    columns->n = i;
    sqlite3_finalize(statement);
    run(db, "COMMIT");
}

/* ---- The same questions by the operators ---------------------------------------------------------- */

static double filtered_mean(const columns_t* c, double* took) {
    static qvo_seq_iterator_t price, volume, limit, condition, kept, mean;
    const double start = seconds();
    double result = 0;
    qvo_seq_unget_double(&price, c->price, c->n);
    qvo_seq_unget_int4(&volume, c->volume, c->n);
    qvo_seq_const_int4(&limit, 1000);
    qvo_seq_gt_int4(&condition, &volume, &limit);
    qvo_seq_filter_double(&kept, &condition, &price);
    qvo_seq_agg_avg_double(&mean, &kept);
    if (qvo_seq_next_double(&mean, &result) != QVO_S_OK) fail("filtered mean", "no result");
    *took = seconds() - start;
    return result;
}

static double sum_of_group_means(const columns_t* c, double* took) {
    static qvo_seq_iterator_t price, symbol, means, keys;
    const double start = seconds();
    double sum = 0, one;
    qvo_seq_unget_double(&price, c->price, c->n);
    qvo_seq_unget_int4(&symbol, c->symbol, c->n);
    if (qvo_seq_hash_agg_avg_double(&means, &keys, &price, &symbol, SYMBOLS) != QVO_S_OK) fail("group", "refused");
    while (qvo_seq_next_double(&means, &one) == QVO_S_OK) sum += one;
    qvo_seq_free_buffer(&means);
    qvo_seq_free_buffer(&keys);
    *took = seconds() - start;
    return sum;
}

static double size_of(const char* path) {
    struct stat file;
    return stat(path, &file) == 0 ? (double)file.st_size : 0;
}

static void print_row(const char* question, const char* unit, double plain, double chunks, double arrays) {
    printf("%-28s %10.1f %10.1f %10.1f %s %8.1f times the plain table, %.2f times the arrays\n", question, plain,
           chunks, arrays, unit, plain / chunks, chunks / arrays);
}

static void check_equal(const char* question, double a, double b, double c) {
    if (!(fabs(a - b) <= 1e-9 * fabs(a)) || !(fabs(a - c) <= 1e-9 * fabs(a))) {
        fprintf(stderr, "ticks: %s differs: %.17g, %.17g, %.17g\n", question, a, b, c);
        exit(1);
    }
}

static double median(double (*took)[3]) {
    const double a = (*took)[0], b = (*took)[1], c = (*took)[2];
    return fmax(fmin(a, b), fmin(fmax(a, b), c));
}

/* One question in turn to the three, three times: what is read from the disk at first is no one's median. */
static void compare(sqlite3* db, const columns_t* c, const char* question, const char* plain, const char* chunks,
                    double (*arrays)(const columns_t*, double*)) {
    double took[3][3];
    for (int round = 0; round < 3; ++round) {
        const double a = ask(db, plain, &took[0][round]), b = ask(db, chunks, &took[1][round]);
        check_equal(question, a, b, arrays(c, &took[2][round]));
    }
    const double ns = 1e9 / (double)c->n;
    print_row(question, "ns a tick,", median(&took[0]) * ns, median(&took[1]) * ns, median(&took[2]) * ns);
}

int main(int argc, char** argv) {
    if (argc < 4) {
        fprintf(stderr, "usage: ticks EXTENSION PLAIN.db CHUNKS.db [N]\n");
        return 2;
    }
    columns_t c = {.n = argc > 4 ? (size_t)strtoull(argv[4], NULL, 10) : 10000000};
    if (c.n < DAYS * SYMBOLS) c.n = DAYS * SYMBOLS;
    c.price = malloc(c.n * sizeof *c.price);
    c.volume = malloc(c.n * sizeof *c.volume);
    c.symbol = malloc(c.n * sizeof *c.symbol);
    if (c.price == NULL || c.volume == NULL || c.symbol == NULL) fail("ticks", "out of memory");

    sqlite3* db;
    char* message = NULL;
    remove(argv[2]);
    remove(argv[3]);
    must(sqlite3_open(argv[2], &db), db, argv[2]);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 1, NULL);
    if (sqlite3_load_extension(db, argv[1], NULL, &message) != SQLITE_OK) fail(argv[1], message);
    run(db, "PRAGMA journal_mode = off; PRAGMA synchronous = off; PRAGMA cache_size = -200000");
    char* attach = sqlite3_mprintf("ATTACH %Q AS chunks", argv[3]);
    run(db, attach);
    sqlite3_free(attach);
    run(db, "PRAGMA chunks.journal_mode = off; PRAGMA chunks.synchronous = off");

    insert_ticks(db, &c);
    /* What reading, grouping and writing rows costs without sequences: the time of packing is what is above it. */
    double copy, pack;
    ask(db, "CREATE TEMP TABLE copy AS SELECT symbol, time, price, volume FROM raw ORDER BY symbol, time / 86400000000",
        &copy);
    run(db, "DROP TABLE temp.copy");
    ask(db,
        "CREATE TABLE chunks.ticks AS SELECT symbol, date(time / 1000000, 'unixepoch') AS day,"
        " seq_pack(price, time) AS price, seq_pack(volume, time, 'int4') AS volume,"
        " seq_pack(time, time, 'timestamp') AS time" /* the largest last: SQLite reads a row no further than it must */
        " FROM raw GROUP BY symbol, time / 86400000000",
        &pack);
    printf("%zu ticks of %d symbols in %d days\n", c.n, SYMBOLS, DAYS);
    printf("%-28s %10s %10s %10s\n", "", "plain", "chunks", "arrays");

    compare(db, &c, "filtered mean", "SELECT avg(price) FROM raw WHERE volume > 1000",
            "SELECT seq_avg(seq_filter(price, seq_gt(volume, 1000))) FROM ticks", filtered_mean);
    compare(db, &c, "mean of each symbol", "SELECT symbol, avg(price) FROM raw GROUP BY symbol",
            "SELECT symbol, seq_avg(price) FROM ticks GROUP BY symbol", sum_of_group_means);

    sqlite3_close(db);
    const double ns = 1e9 / (double)c.n, bytes = (double)(sizeof(double) + 2 * sizeof(int32_t) + sizeof(int64_t));
    print_row("size", "bytes a tick,", size_of(argv[2]) / (double)c.n, size_of(argv[3]) / (double)c.n, bytes);
    printf("%-28s %10.1f %10.1f            ns a tick: rows sorted into groups and written, as rows and packed\n",
           "writing", copy * ns, pack * ns);
    free(c.price);
    free(c.volume);
    free(c.symbol);
    return 0;
}
