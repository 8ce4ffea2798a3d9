/* What a program outside of this project does with the installed value library: the function that the README shows, the
 * same from the bytes that a database keeps, and an error. */
#include <stdio.h>
#include <string.h>

#include "qvovalue_shown.h"

/* Stores an array, reads it back, and compares. */
static int comes_back(const double* values, size_t n) {
    qvo_expression_t *array = NULL, *stored = NULL;
    qvo_datum_t bytes = {.kind = QVO_DATUM_NULL};
    void* read = NULL;
    qvo_type_t type = QVO_TYPE_BOOLEAN;
    uint64_t count = 0;
    qvo_error_t error = {.code = QVO_VALUE_OK};
    qvo_value_code_t code = qvo_expression_array(QVO_TYPE_DOUBLE, 0, values, n, NULL, NULL, &array, &error);
    if (code == QVO_VALUE_OK) code = qvo_expression_evaluate(array, NULL, &bytes, &error);
    if (code == QVO_VALUE_OK)
        code = qvo_expression_stored(bytes.as.bytes.data, bytes.as.bytes.size, NULL, NULL, &stored, &error);
    if (code == QVO_VALUE_OK) code = qvo_expression_read(stored, NULL, &read, &type, NULL, &count, &error);
    if (code != QVO_VALUE_OK) puts(error.message);
    const int equal = read != NULL && type == QVO_TYPE_DOUBLE && count == n && memcmp(read, values, n * 8) == 0;
    qvo_value_free(read);
    if (stored != NULL) qvo_expression_release(stored);
    if (array != NULL) qvo_expression_release(array);
    qvo_datum_free(&bytes);
    return equal;
}

/* What cannot be done is a sentence. */
static int is_refused(void) {
    const qvo_datum_t arguments[] = {{QVO_DATUM_INTEGER, {.integer = 1}}};
    qvo_datum_t nothing = {.kind = QVO_DATUM_NULL};
    qvo_error_t error = {.code = QVO_VALUE_OK};
    const qvo_value_code_t code = qvo_call(qvo_function_named("length"), arguments, 1, NULL, &nothing, &error);
    puts(error.message);
    return code == QVO_VALUE_ERROR && strncmp(error.message, "seq_length: ", 12) == 0;
}

int main(void) {
    const double prices[] = {10.0, 20.0, 30.0, 40.0};
    const int32_t volumes[] = {500, 1500, 1000, 2500};
    double mean = 0;
    const int found = mean_price(prices, volumes, 4, &mean);
    printf("mean price %g, release %s, %zu functions\n", mean, qvo_value_version(), qvo_function_count());
    return found && mean == 30.0 && comes_back(prices, 4) && is_refused() ? 0 : 1;
}
