#include "columns.h"

#include <csv.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { LOCATION, DATE, PRECIPITATION, TEMP_MAX, TEMP_MIN, WIND, WEATHER, N_FIELDS };

static const char* const field_names[N_FIELDS] = {"location", "date", "precipitation", "temp_max",
                                                  "temp_min", "wind", "weather"};

typedef struct {
    const char* path;
    station_t* stations;
    size_t n_stations, n_rows;
    char fields[N_FIELDS][32]; /* of the row that is being read */
    size_t n_fields;
} reader_t;

static void fail(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    fprintf(stderr, "weather: ");
    vfprintf(stderr, format, arguments);
    fputc('\n', stderr);
    va_end(arguments);
    exit(1);
}

/* ---- Storing ---------------------------------------------------------------------------------- */

static void* grow(void* block, size_t size) {
    void* grown = realloc(block, size);
    if (grown == NULL) fail("out of memory");
    return grown;
}

static column_t new_column(uint8_t elem_type, uint16_t width) {
    column_t column = {0};
    column.elem_type = elem_type;
    column.width = width;
    return column;
}

/* A value equal to the one before lengthens its run, up to the 255 positions that an element can stand for. */
static void append(column_t* column, const void* value) {
    const size_t width = column->width, last = column->n_elements - 1;
    ++column->n_positions;
    if (column->n_elements != 0 && column->runs[last] < 255 && !memcmp(column->values + last * width, value, width)) {
        ++column->runs[last];
        return;
    }
    if (column->n_elements == column->capacity) {
        column->capacity = column->capacity == 0 ? 256 : 2 * column->capacity;
        column->values = grow(column->values, column->capacity * width);
        column->runs = grow(column->runs, column->capacity);
    }
    memcpy(column->values + column->n_elements * width, value, width);
    column->runs[column->n_elements++] = 1;
}

const void* value_at(const column_t* column, qvo_seq_no_t position) {
    size_t i = 0;
    while (position >= column->runs[i]) position -= column->runs[i++];
    return column->values + i * column->width;
}

/* ---- Reading the file ------------------------------------------------------------------------- */

static station_t* station_named(reader_t* reader, const char* name) {
    for (size_t i = 0; i < reader->n_stations; ++i)
        if (!strcmp(reader->stations[i].name, name)) return &reader->stations[i];
    if (reader->n_stations == MAX_STATIONS) fail("%s: more than %d places", reader->path, MAX_STATIONS);
    station_t* station = &reader->stations[reader->n_stations++];
    snprintf(station->name, sizeof station->name, "%s", name);
    station->date = new_column(QVO_DD_DATETIME, sizeof(qvo_datetime));
    station->month = new_column(QVO_DD_INT4, sizeof(qvo_int4));
    station->rain = station->high = station->low = station->wind = new_column(QVO_DD_DOUBLE, sizeof(qvo_double));
    station->kind = new_column(QVO_DD_CHAR, KIND_WIDTH);
    return station;
}

/* Days since 1970-01-01, in the Gregorian calendar; years count from March, so that leap days come last. */
static qvo_datetime days_since_1970(int year, int month, int day) {
    const int y = month > 2 ? year : year - 1, m = (month + 9) % 12;
    return (qvo_datetime)(365L * y + y / 4 - y / 100 + y / 400 + (153 * m + 2) / 5 + day - 1 - 719468);
}

static void append_number(const reader_t* reader, column_t* column, int field) {
    char* end;
    const double number = strtod(reader->fields[field], &end);
    if (end == reader->fields[field] || *end != '\0')
        fail("%s, row %zu: %s is not a number", reader->path, reader->n_rows, field_names[field]);
    append(column, &number);
}

static void on_field(void* text, size_t size, void* data) {
    reader_t* reader = data;
    const size_t field = reader->n_fields++;
    if (field >= N_FIELDS) return;
    if (size >= sizeof reader->fields[0]) fail("%s, row %zu: a field is too long", reader->path, reader->n_rows + 1);
    memcpy(reader->fields[field], text, size);
    reader->fields[field][size] = '\0';
}

static void on_row(int ending, void* data) {
    (void)ending;
    reader_t* reader = data;
    const size_t n_fields = reader->n_fields;
    reader->n_fields = 0;
    ++reader->n_rows;
    if (n_fields != N_FIELDS) fail("%s, row %zu: not %d fields", reader->path, reader->n_rows, N_FIELDS);
    if (reader->n_rows == 1) {
        for (int field = 0; field < N_FIELDS; ++field)
            if (strcmp(reader->fields[field], field_names[field]) != 0)
                fail("%s: column %d is not %s", reader->path, field + 1, field_names[field]);
        return;
    }

    int year, month, day;
    if (sscanf(reader->fields[DATE], "%4d-%2d-%2d", &year, &month, &day) != 3)
        fail("%s, row %zu: date", reader->path, reader->n_rows);
    const qvo_datetime date = days_since_1970(year, month, day);
    const qvo_int4 year_month = 100 * year + month;
    char kind[KIND_WIDTH + 1];
    snprintf(kind, sizeof kind, "%-*.*s", KIND_WIDTH, KIND_WIDTH, reader->fields[WEATHER]);

    station_t* station = station_named(reader, reader->fields[LOCATION]);
    append(&station->date, &date);
    append(&station->month, &year_month);
    append(&station->kind, kind);
    append_number(reader, &station->rain, PRECIPITATION);
    append_number(reader, &station->high, TEMP_MAX);
    append_number(reader, &station->low, TEMP_MIN);
    append_number(reader, &station->wind, WIND);
}

size_t load_stations(const char* path, station_t stations[MAX_STATIONS]) {
    reader_t reader = {0};
    reader.path = path;
    reader.stations = stations;
    FILE* file = fopen(path, "rb");
    struct csv_parser parser;
    if (file == NULL) fail("%s cannot be opened", path);
    if (csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI) != 0) fail("no CSV parser");

    char block[8192];
    size_t size;
    while ((size = fread(block, 1, sizeof block, file)) != 0)
        if (csv_parse(&parser, block, size, on_field, on_row, &reader) != size)
            fail("%s: %s", path, csv_strerror(csv_error(&parser)));
    if (ferror(file)) fail("%s cannot be read", path);
    if (csv_fini(&parser, on_field, on_row, &reader) != 0) fail("%s: %s", path, csv_strerror(csv_error(&parser)));
    csv_free(&parser);
    fclose(file);
    if (reader.n_stations == 0) fail("%s holds no days", path);
    return reader.n_stations;
}

void free_stations(station_t* stations, size_t n_stations) {
    for (size_t i = 0; i < n_stations; ++i) {
        column_t* columns[] = {&stations[i].date, &stations[i].month, &stations[i].rain, &stations[i].high,
                               &stations[i].low,  &stations[i].wind,  &stations[i].kind};
        for (size_t c = 0; c < sizeof columns / sizeof columns[0]; ++c) {
            free(columns[c]->values);
            free(columns[c]->runs);
        }
    }
}

/* ---- The source ------------------------------------------------------------------------------- */

static counted_t handed_out;

void start_counting(void) { handed_out.elements = handed_out.positions = 0; }

counted_t counted(void) { return handed_out; }

/* One tile: the values in front, the run of element i at the i-th byte from the end. context[0] is the next element. */
static QVO_RET column_next(qvo_seq_iterator_h it) {
    const column_t* column = it->buf;
    const size_t capacity = sizeof it->tile.u / (column->width + 1U), at = it->context[0];
    const size_t left = column->n_elements - at, n = left < capacity ? left : capacity;
    unsigned char* payload = (unsigned char*)&it->tile.u;
    if (n == 0) return QVO_S_CURSOR_END;

    memcpy(payload, column->values + at * column->width, n * column->width);
    for (size_t i = 0; i < n; ++i) {
        payload[sizeof it->tile.u - 1 - i] = column->runs[at + i];
        it->next_seq_no += column->runs[at + i];
        handed_out.positions += column->runs[at + i];
    }
    handed_out.elements += n;
    it->context[0] += n;
    it->tile_size = (uint16_t)n;
    return QVO_S_OK;
}

static QVO_RET column_reset(qvo_seq_iterator_h it) {
    it->context[0] = 0;
    it->tile_size = it->tile_offs = 0;
    it->rle_offs = 0;
    it->next_seq_no = 0;
    return QVO_S_OK;
}

void open_column(qvo_seq_iterator_h result, const column_t* column) {
    memset(result, 0, sizeof *result);
    result->next = column_next;
    result->reset = column_reset;
    result->elem_type = column->elem_type;
    result->elem_size = column->width;
    result->last_seq_no = column->n_positions - 1;
    result->buf = (void*)column;
}
