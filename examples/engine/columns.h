/*
 * The data file as columns, stored as a database would store them: typed, and run-length encoded. A column is opened as
 * a sequence by a source of the program's own; the source counts what it hands out.
 */
#ifndef COLUMNS_H
#define COLUMNS_H

#include "qvoseq.h"

typedef struct {
    uint8_t elem_type;
    uint16_t width;
    char* values; /* n_elements values of `width` bytes */
    uint8_t* runs;
    size_t n_elements, n_positions, capacity;
} column_t;

enum { KIND_WIDTH = 7, MAX_STATIONS = 4 };

/* The days of one place. */
typedef struct {
    char name[32];
    column_t date;  /* datetime: days since 1970-01-01 */
    column_t month; /* int4: 201207 for July 2012 */
    column_t rain;  /* double, millimetres */
    column_t high;  /* double, degrees Celsius */
    column_t low;   /* double, degrees Celsius */
    column_t wind;  /* double */
    column_t kind;  /* char, KIND_WIDTH bytes, blanks after the word */
} station_t;

/* Reads the file; returns the number of stations. Ends the program, with a message, if that fails. */
size_t load_stations(const char* path, station_t stations[MAX_STATIONS]);
void free_stations(station_t* stations, size_t n_stations);

/* The column as a sequence. */
void open_column(qvo_seq_iterator_h result, const column_t* column);

/* The value at a position, which the column must have. */
const void* value_at(const column_t* column, qvo_seq_no_t position);

/* What the opened columns have handed out since the last call of start_counting. */
typedef struct {
    qvo_size_t elements, positions;
} counted_t;
void start_counting(void);
counted_t counted(void);

#endif
