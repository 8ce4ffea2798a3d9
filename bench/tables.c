/*
 * Ticks in a plain SQLite table with an index, or in a table that chunks itself: loading, and the questions that the
 * comparison in tables.py asks. One kind of table a process, so that its peak of memory is that table's.
 *
 *     tables plain|chunks EXTENSION FOLDER ROWS PAGE
 *
 * FOLDER holds the columns as arrays (symbol.u1, time.i8, price.f8, volume.i4, side.u1) and gets the database, whose pages
 * are of PAGE bytes. Prints a line for each figure: its name, the median time in seconds or the size, and a result to
 * compare.
 */
#include <inttypes.h>
#include <sqlite3.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

enum { BLOCK = 8192, ROUNDS = 5, POINTS = 2000 };

static double seconds(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec + (double)now.tv_nsec * 1e-9;
}

static void must(int rc, sqlite3* db, const char* what) {
    if (rc == SQLITE_OK || rc == SQLITE_DONE || rc == SQLITE_ROW) return;
    fprintf(stderr, "tables: %s: %s\n", what, sqlite3_errmsg(db));
    exit(1);
}

static void run(sqlite3* db, const char* sql) { must(sqlite3_exec(db, sql, NULL, NULL, NULL), db, sql); }

static FILE* column(const char* folder, const char* name) {
    char path[1024];
    snprintf(path, sizeof path, "%s/%s", folder, name);
    FILE* const file = fopen(path, "rb");
    if (file == NULL) {
        perror(path);
        exit(1);
    }
    return file;
}

static void load(sqlite3* db, const char* folder, size_t n) {
    static const char* const sides[] = {"buy", "sell"};
    static uint8_t symbol[BLOCK], side[BLOCK];
    static int64_t time[BLOCK];
    static double price[BLOCK];
    static int32_t volume[BLOCK];
    FILE* const files[] = {column(folder, "symbol.u1"), column(folder, "time.i8"), column(folder, "price.f8"),
                           column(folder, "volume.i4"), column(folder, "side.u1")};
    sqlite3_stmt* insert;
    must(sqlite3_prepare_v2(db, "INSERT INTO ticks VALUES (?, ?, ?, ?, ?)", -1, &insert, NULL), db, "INSERT");
    run(db, "BEGIN");
    for (size_t at = 0; at < n; at += BLOCK) {
        const size_t m = n - at < BLOCK ? n - at : BLOCK;
        if (fread(symbol, 1, m, files[0]) != m || fread(time, 8, m, files[1]) != m ||
            fread(price, 8, m, files[2]) != m || fread(volume, 4, m, files[3]) != m || fread(side, 1, m, files[4]) != m)
            must(SQLITE_IOERR, db, "the columns are too short");
        for (size_t i = 0; i < m; ++i) {
            char name[8];
            snprintf(name, sizeof name, "SYM%02u", (unsigned)symbol[i]);
            sqlite3_bind_text(insert, 1, name, 5, SQLITE_STATIC);
            sqlite3_bind_int64(insert, 2, time[i]);
            sqlite3_bind_double(insert, 3, price[i]);
            sqlite3_bind_int(insert, 4, volume[i]);
            sqlite3_bind_text(insert, 5, sides[side[i]], -1, SQLITE_STATIC);
            must(sqlite3_step(insert), db, "INSERT");
            sqlite3_reset(insert);
        }
    }
    run(db, "COMMIT");
    sqlite3_finalize(insert);
    for (size_t i = 0; i < 5; ++i) fclose(files[i]);
}

static int by_value(const void* a, const void* b) {
    const double x = *(const double*)a, y = *(const double*)b;
    return x < y ? -1 : x > y;
}

/* Runs a query to its end; the sum of its last column. */
static double ask(sqlite3* db, sqlite3_stmt* statement) {
    double sum = 0;
    int rc;
    while ((rc = sqlite3_step(statement)) == SQLITE_ROW)
        sum += sqlite3_column_double(statement, sqlite3_column_count(statement) - 1);
    must(rc, db, sqlite3_sql(statement));
    sqlite3_reset(statement);
    return sum;
}

static void report(sqlite3* db, const char* name, const char* sql) {
    double took[ROUNDS], result = 0;
    for (int round = -1; round < ROUNDS; ++round) { /* the first one warms the caches up */
        const double start = seconds();
        sqlite3_stmt* statement;
        must(sqlite3_prepare_v2(db, sql, -1, &statement, NULL), db, sql);
        result = ask(db, statement);
        sqlite3_finalize(statement);
        if (round >= 0) took[round] = seconds() - start;
    }
    qsort(took, ROUNDS, sizeof *took, by_value);
    printf("%s %.9f %.17g\n", name, took[ROUNDS / 2], result);
}

/* Look-ups of single rows all over the table, by one prepared statement. */
static void report_points(sqlite3* db, const char* folder, size_t n) {
    FILE* const symbols = column(folder, "symbol.u1");
    FILE* const times = column(folder, "time.i8");
    static double took[POINTS];
    double sum = 0;
    sqlite3_stmt* statement;
    must(sqlite3_prepare_v2(db, "SELECT price FROM ticks WHERE symbol = ? AND time = ?", -1, &statement, NULL), db,
         "SELECT");
    for (size_t i = 0; i < POINTS; ++i) {
        const size_t at = i * 2654435761u % n;
        char name[8];
        int64_t time;
        fseek(times, (long)(at * 8), SEEK_SET);
        fseek(symbols, (long)at, SEEK_SET);
        const int symbol = fgetc(symbols);
        if (symbol < 0 || fread(&time, 8, 1, times) != 1) exit(1);
        snprintf(name, sizeof name, "SYM%02u", (unsigned)(symbol & 0xff));
        const double start = seconds();
        sqlite3_bind_text(statement, 1, name, 5, SQLITE_STATIC);
        sqlite3_bind_int64(statement, 2, time);
        sum += ask(db, statement);
        took[i] = seconds() - start;
    }
    qsort(took, POINTS, sizeof *took, by_value);
    printf("point %.9f %.17g\n", took[POINTS / 2], sum);
    sqlite3_finalize(statement);
    fclose(symbols);
    fclose(times);
}

/* The result is how many rows are left. */
static void report_delete(sqlite3* db, const char* name, const char* what, int64_t before) {
    char sql[128];
    snprintf(sql, sizeof sql, "DELETE FROM %s %" PRId64, what, before);
    const double start = seconds();
    run(db, sql);
    const double took = seconds() - start;
    sqlite3_stmt* statement;
    must(sqlite3_prepare_v2(db, "SELECT count(*) FROM ticks", -1, &statement, NULL), db, "SELECT");
    printf("%s %.9f %.0f\n", name, took, ask(db, statement));
    sqlite3_finalize(statement);
}

/* A million rows as a sequence in the order of a column, in which they come or do not, beside SQLite's own aggregates
 * of the same columns. */
static void report_packing(sqlite3* db) {
    report(db, "own_aggregates", "SELECT avg(price) + avg(time) FROM ticks WHERE rowid <= 1000000");
    report(db, "pack_in_order", "SELECT seq_length(seq_pack(price, time)) FROM ticks WHERE rowid <= 1000000");
    report(db, "pack_out_of_order", "SELECT seq_length(seq_pack(time, price)) FROM ticks WHERE rowid <= 1000000");
}

/* Most memory that this program had at a time. (What getrusage tells begins with the peak of who started it.) */
static double peak_bytes(void) {
    FILE* const status = fopen("/proc/self/status", "r");
    char line[256];
    double kilobytes = 0;
    while (status != NULL && fgets(line, sizeof line, status) != NULL)
        if (sscanf(line, "VmHWM: %lf kB", &kilobytes) == 1) break;
    if (status != NULL) fclose(status);
    return kilobytes * 1024;
}

int main(int argc, char** argv) {
    if (argc != 6) {
        fprintf(stderr, "usage: tables plain|chunks EXTENSION FOLDER ROWS PAGE\n");
        return 2;
    }
    const int chunks = strcmp(argv[1], "chunks") == 0;
    const size_t n = (size_t)strtoull(argv[4], NULL, 10);
    char path[1024], sql[512];
    sqlite3* db;
    char* message = NULL;
    snprintf(path, sizeof path, "%s/%s.db", argv[3], argv[1]);
    remove(path);
    must(sqlite3_open(path, &db), db, path);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 1, NULL);
    if (sqlite3_load_extension(db, argv[2], NULL, &message) != SQLITE_OK) {
        fprintf(stderr, "tables: %s\n", message);
        return 1;
    }
    snprintf(sql, sizeof sql, "PRAGMA page_size = %d; PRAGMA journal_mode = WAL; PRAGMA synchronous = normal",
             atoi(argv[5]));
    run(db, sql);
    run(db, chunks ? "CREATE VIRTUAL TABLE ticks USING qvoseq(symbol TEXT KEY, time TIMESTAMP ORDER, price DOUBLE,"
                     " volume INT4, side TEXT)"
                   : "CREATE TABLE ticks(symbol TEXT, time INTEGER, price REAL, volume INTEGER, side TEXT);"
                     "CREATE INDEX ticks_key ON ticks(symbol, time)");
    double start = seconds();
    load(db, argv[3], n);
    printf("load %.9f %zu\n", seconds() - start, n);
    printf("load_memory %.0f 0\n", peak_bytes());
    if (chunks) {
        start = seconds();
        run(db, "SELECT seq_pack_tail('ticks')");
        printf("pack_tail %.9f 0\n", seconds() - start);
    }
    run(db, "PRAGMA wal_checkpoint(TRUNCATE)");
    struct stat file;
    stat(path, &file);
    printf("size %.0f 0\n", (double)file.st_size);

    const int64_t day = INT64_C(86400000000), from = INT64_C(1767225600000000) + 3 * day;
    const char* const filtered = chunks ? "SELECT seq_avg(seq_filter(price, seq_gt(volume, 1000))) FROM ticks_seq"
                                        : "SELECT avg(price) FROM ticks WHERE volume > 1000";
    const char* const grouped = chunks ? "SELECT symbol, seq_avg(price) FROM ticks_seq GROUP BY symbol"
                                       : "SELECT symbol, avg(price) FROM ticks GROUP BY symbol";
    report(db, "filtered", filtered);
    report(db, "grouped", grouped);
    snprintf(sql, sizeof sql,
             chunks ? "SELECT seq_avg(seq_filter(price, seq_gt(volume, 1000))) FROM ticks_seq(%" PRId64 ", %" PRId64
                      ") WHERE symbol = 'SYM42'"
                    : "SELECT avg(price) FROM ticks WHERE time >= %" PRId64 " AND time < %" PRId64
                      " AND symbol = 'SYM42' AND volume > 1000",
             from, from + day);
    report(db, "day_filtered", sql);
    snprintf(sql, sizeof sql,
             "SELECT time, volume, side, price FROM ticks WHERE symbol = 'SYM42' AND time >= %" PRId64
             " AND time < %" PRId64,
             from, from + day);
    report(db, "day_rows", sql);
    report_points(db, argv[3], n);
    printf("memory %.0f 0\n", peak_bytes());
    /* The same with more than SQLite's 2 MB for pages that have been read. */
    run(db, "PRAGMA cache_size = -32000");
    report(db, "filtered_cached", filtered);
    report(db, "grouped_cached", grouped);
    printf("memory_cached %.0f 0\n", peak_bytes());
    run(db, "PRAGMA cache_size = -2000");
    if (!chunks) report_packing(db);
    /* Half of the rows go with the chunks that hold them, then a quarter row by row. */
    report_delete(db, "retention", chunks ? "ticks_seq WHERE last =" : "ticks WHERE time <", from + 7 * day);
    report_delete(db, "delete", "ticks WHERE time <", from + 12 * day);
    sqlite3_close(db);
    return 0;
}
