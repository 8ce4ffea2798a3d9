/*
 * The type qvoseq: its bytes are the stored form, its text is the JSON of seq_to_json.
 *
 * Of JSON alone not every type can be told: [1,2] might be int4, strings might be times. Where reading it again would
 * give another type, the text names it in front, `int4[1,2]`, so that what pg_dump writes comes back as it was.
 */
#include "type.h"

#include "aggregate.h"
#include "host.h"
#include "libpq/pqformat.h"
#include "utils/builtins.h"
#include "utils/lsyscache.h"
#include "utils/memutils.h"

PG_FUNCTION_INFO_V1(qvoseq_in);
PG_FUNCTION_INFO_V1(qvoseq_out);
PG_FUNCTION_INFO_V1(qvoseq_recv);
PG_FUNCTION_INFO_V1(qvoseq_send);
PG_FUNCTION_INFO_V1(qvoseq_of_bytes);
PG_FUNCTION_INFO_V1(qvoseq_as_bytes);

bool is_own_type(Oid type) {
    Oid input, parameter;
    getTypeInputInfo(type, &input, &parameter);
    FmgrInfo function;
    fmgr_info(input, &function);
    return function.fn_addr == qvoseq_in || function.fn_addr == qvoseq_state_in;
}

Datum qvoseq_in(PG_FUNCTION_ARGS) {
    const char* text = PG_GETARG_CSTRING(0);
    text += strspn(text, " \t\r\n");
    const size_t named = strcspn(text, "[");
    qvo_datum_t arguments[2] = {text_of(text + named)};
    if (named != 0) arguments[1] = text_of(pnstrdup(text, named));
    qvo_datum_t result = call_named("from_json", arguments, named != 0 ? 2 : 1, ERRCODE_INVALID_TEXT_REPRESENTATION);
    const Datum sequence = make_varlena(result.as.bytes.data, result.as.bytes.size);
    qvo_datum_free(&result);
    return sequence;
}

static bool same_text(const qvo_datum_t* a, const qvo_datum_t* b) {
    return a->as.bytes.size == b->as.bytes.size && memcmp(a->as.bytes.data, b->as.bytes.data, a->as.bytes.size) == 0;
}

/*
 * Whether the text would be read as the type without its name. All values of a type look alike to the reader, but for
 * the width of texts: else the first one tells.
 */
static bool is_inferred(qvo_datum_t sequence, qvo_datum_t type, qvo_datum_t json) {
    const char char_[] = "char(";
    const bool is_char = type.as.bytes.size >= strlen(char_) && memcmp(type.as.bytes.data, char_, strlen(char_)) == 0;
    if (!is_char) {
        const qvo_datum_t bounds[3] = {
            sequence, {.kind = QVO_DATUM_INTEGER, .as.integer = 0}, {.kind = QVO_DATUM_INTEGER, .as.integer = 1}};
        const qvo_datum_t first = call_named("slice", bounds, 3, 0);
        json = call_named("to_json", &first, 1, 0);
    }
    const qvo_limits_t limits = session_limits();
    qvo_datum_t read = {0};
    qvo_error_t error;
    const qvo_value_code_t code = qvo_call(qvo_function_named("from_json"), &json, 1, &limits, &read, &error);
    if (code == QVO_VALUE_ERROR) return false; /* a number that only the type named holds */
    if (code != QVO_VALUE_OK) raise_error(&error, 0);
    const qvo_datum_t inferred = call_named("type", &read, 1, 0);
    return same_text(&inferred, &type);
}

Datum qvoseq_out(PG_FUNCTION_ARGS) {
    const qvo_datum_t sequence = bytes_of(PG_GETARG_DATUM(0));
    const qvo_datum_t type = call_named("type", &sequence, 1, 0);
    const qvo_datum_t json = call_named("to_json", &sequence, 1, 0);
    const size_t prefix = is_inferred(sequence, type, json) ? 0 : type.as.bytes.size;
    if (prefix + json.as.bytes.size >= MaxAllocSize)
        ereport(ERROR, (errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED), errmsg("the text of a sequence exceeds 1 GB")));
    char* const text = palloc(prefix + json.as.bytes.size + 1);
    memcpy(text, type.as.bytes.data, prefix);
    memcpy(text + prefix, json.as.bytes.data, json.as.bytes.size);
    text[prefix + json.as.bytes.size] = '\0';
    PG_RETURN_CSTRING(pg_any_to_server(text, (int)(prefix + json.as.bytes.size), PG_UTF8));
}

/* Refuses bytes that are no sound sequence in every part. */
static void check_sequence(const qvo_datum_t* bytes, int state) {
    const qvo_datum_t valid = call_named("valid", bytes, 1, state);
    if (valid.as.integer == 1) return;
    /* Nearly everything has a sentence of its own from what reads the header; the rest is damage within tiles. */
    const qvo_datum_t length = call_named("length", bytes, 1, state);
    ereport(ERROR, (errcode(state), errmsg("the bytes of a sequence of " INT64_FORMAT " positions are damaged",
                                           (int64)length.as.integer)));
}

Datum qvoseq_recv(PG_FUNCTION_ARGS) {
    StringInfo message = (StringInfo)PG_GETARG_POINTER(0);
    qvo_datum_t bytes = {.kind = QVO_DATUM_BYTES};
    bytes.as.bytes.size = (size_t)(message->len - message->cursor);
    bytes.as.bytes.data = pq_getmsgbytes(message, message->len - message->cursor);
    check_sequence(&bytes, ERRCODE_INVALID_BINARY_REPRESENTATION);
    return make_varlena(bytes.as.bytes.data, bytes.as.bytes.size);
}

Datum qvoseq_send(PG_FUNCTION_ARGS) { return PointerGetDatum(PG_DETOAST_DATUM_COPY(PG_GETARG_DATUM(0))); }

Datum qvoseq_of_bytes(PG_FUNCTION_ARGS) {
    const qvo_datum_t bytes = bytes_of(PG_GETARG_DATUM(0));
    check_sequence(&bytes, ERRCODE_INVALID_BINARY_REPRESENTATION);
    return make_varlena(bytes.as.bytes.data, bytes.as.bytes.size);
}

Datum qvoseq_as_bytes(PG_FUNCTION_ARGS) {
    const qvo_datum_t bytes = bytes_of(PG_GETARG_DATUM(0));
    return make_varlena(bytes.as.bytes.data, bytes.as.bytes.size);
}
