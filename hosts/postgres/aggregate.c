/*
 * Aggregates. Their state is a value of the type qvoseq_state, whose bytes are those of seq_state; between transitions
 * it is an expanded object, which holds the running aggregate in memory and becomes bytes only where it travels: to
 * the leader of a parallel plan, to another server, into a table.
 *
 * All that an aggregate allocates lies in the memory context of its expanded object, into which every call of the value
 * library switches; deleting that context frees it, without any destructor.
 */
#include "aggregate.h"

#include "utils/builtins.h"
#include "utils/expandeddatum.h"
#include "utils/memutils.h"

typedef struct {
    ExpandedObjectHeader header;
    qvo_aggregate_t* aggregate;
    qvo_datum_t flat; /* the state as bytes, from when they are asked for until the next step */
} State;

static Size flat_size(ExpandedObjectHeader* header) {
    State* const state = (State*)header;
    if (state->flat.kind == QVO_DATUM_NULL) {
        MemoryContext before = MemoryContextSwitchTo(header->eoh_context);
        qvo_error_t error;
        const qvo_value_code_t code = qvo_aggregate_state(state->aggregate, &state->flat, &error);
        MemoryContextSwitchTo(before);
        if (code != QVO_VALUE_OK) raise_error(&error, ERRCODE_FEATURE_NOT_SUPPORTED);
    }
    if (state->flat.as.bytes.size > MaxAllocSize - VARHDRSZ)
        ereport(ERROR, (errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED), errmsg("the state of an aggregate exceeds 1 GB")));
    return VARHDRSZ + state->flat.as.bytes.size;
}

static void flatten(ExpandedObjectHeader* header, void* result, Size allocated_size) {
    const State* const state = (State*)header;
    memcpy(VARDATA(result), state->flat.as.bytes.data, allocated_size - VARHDRSZ);
    SET_VARSIZE(result, allocated_size);
}

static const ExpandedObjectMethods methods = {flat_size, flatten};

static State* new_state(const CallSite* site, MemoryContext parent) {
    MemoryContext context = AllocSetContextCreate(parent, "state of a seq_ aggregate", ALLOCSET_START_SMALL_SIZES);
    State* const state = MemoryContextAllocZero(context, sizeof(State));
    EOH_init_header(&state->header, &methods, context);
    MemoryContext before = MemoryContextSwitchTo(context);
    qvo_error_t error;
    const qvo_value_code_t code = qvo_aggregate_new(site->function, &state->aggregate, &error);
    MemoryContextSwitchTo(before);
    if (code != QVO_VALUE_OK) raise_error(&error, 0);
    return state;
}

/* Another state's rows after those of this one. */
static void merge(State* state, Datum other) {
    const qvo_datum_t bytes = bytes_of(other);
    MemoryContext before = MemoryContextSwitchTo(state->header.eoh_context);
    qvo_error_t error;
    const qvo_value_code_t code =
        qvo_aggregate_merge(state->aggregate, bytes.as.bytes.data, bytes.as.bytes.size, &error);
    qvo_datum_free(&state->flat);
    MemoryContextSwitchTo(before);
    if (code != QVO_VALUE_OK) raise_error(&error, 0);
}

static bool is_expanded(Datum datum) {
    return VARATT_IS_EXTERNAL_EXPANDED(DatumGetPointer(datum)) && DatumGetEOHP(datum)->eoh_methods == &methods;
}

/* The state in argument 0 as one that may be changed in place. */
static State* own_state(FunctionCallInfo fcinfo, const CallSite* site) {
    MemoryContext context = CurrentMemoryContext;
    AggCheckCallContext(fcinfo, &context); /* called from elsewhere, the state lives as long as any result */
    if (PG_ARGISNULL(0)) return new_state(site, context);
    const Datum given = PG_GETARG_DATUM(0);
    if (is_expanded(given) && VARATT_IS_EXTERNAL_EXPANDED_RW(DatumGetPointer(given)))
        return (State*)DatumGetEOHP(given);
    State* const state = new_state(site, context);
    merge(state, given);
    return state;
}

Datum step_aggregate(FunctionCallInfo fcinfo, const char* name) {
    const CallSite* const site = call_site(fcinfo, name, 1);
    State* const state = own_state(fcinfo, site);
    const qvo_limits_t limits = session_limits();
    qvo_datum_t arguments[qvo_most_arguments];
    get_arguments(fcinfo, site, 1, arguments);
    MemoryContext before = MemoryContextSwitchTo(state->header.eoh_context);
    qvo_error_t error;
    const qvo_value_code_t code =
        qvo_aggregate_step(state->aggregate, arguments, (size_t)site->n_arguments, &limits, &error);
    qvo_datum_free(&state->flat);
    MemoryContextSwitchTo(before);
    if (code != QVO_VALUE_OK) raise_error(&error, 0);
    return EOHPGetRWDatum(&state->header);
}

Datum combine_aggregates(FunctionCallInfo fcinfo, const char* name) {
    if (PG_ARGISNULL(1)) {
        if (PG_ARGISNULL(0)) PG_RETURN_NULL();
        return PG_GETARG_DATUM(0);
    }
    State* const state = own_state(fcinfo, call_site(fcinfo, name, 2));
    merge(state, PG_GETARG_DATUM(1));
    return EOHPGetRWDatum(&state->header);
}

/*
 * A sequence of values whose type was not named. To the value library times and booleans are integers: here SQL knows
 * more. (A final function that is to know it is declared with the aggregate's arguments after the state.)
 */
static qvo_datum_t with_type_of_values(const CallSite* site, qvo_datum_t sequence) {
    const bool time = site->forms[0] == FROM_TIMESTAMP || site->forms[0] == FROM_DATE;
    if (sequence.kind != QVO_DATUM_BYTES || !(time || site->forms[0] == FROM_BOOLEAN)) return sequence;
    const qvo_datum_t arguments[2] = {sequence, text_of(time ? "timestamp" : "boolean")};
    const qvo_datum_t typed = call_named("cast", arguments, 2, 0);
    qvo_datum_free(&sequence);
    return typed;
}

Datum finish_aggregate(FunctionCallInfo fcinfo, const char* name) {
    const CallSite* const site = call_site(fcinfo, name, 1);
    const qvo_limits_t limits = session_limits();
    State* state;
    if (!PG_ARGISNULL(0) && is_expanded(PG_GETARG_DATUM(0))) {
        state = (State*)DatumGetEOHP(PG_GETARG_DATUM(0));
    } else {
        state = new_state(site, CurrentMemoryContext); /* a group without rows, or a state from elsewhere */
        if (!PG_ARGISNULL(0)) merge(state, PG_GETARG_DATUM(0));
    }
    qvo_datum_t result = {0};
    qvo_error_t error;
    if (qvo_aggregate_finish(state->aggregate, &limits, &result, &error) != QVO_VALUE_OK) raise_error(&error, 0);
    if (site->n_arguments != 0) result = with_type_of_values(site, result);
    return give_result(name, site->result, &result, &fcinfo->isnull);
}

/* ---- The type of states -------------------------------------------------------------------------- */

/* Refuses bytes that are no state, as seq_merge does. */
static void check_state(Datum state, int sqlstate) {
    const qvo_datum_t bytes = bytes_of(state);
    qvo_aggregate_t* merged = NULL;
    qvo_error_t error;
    if (qvo_aggregate_new(qvo_function_named("merge"), &merged, &error) != QVO_VALUE_OK ||
        qvo_aggregate_step(merged, &bytes, 1, NULL, &error) != QVO_VALUE_OK)
        raise_error(&error, sqlstate);
    qvo_aggregate_free(merged);
}

PG_FUNCTION_INFO_V1(qvoseq_state_in);
PG_FUNCTION_INFO_V1(qvoseq_state_out);
PG_FUNCTION_INFO_V1(qvoseq_state_recv);
PG_FUNCTION_INFO_V1(qvoseq_state_send);

Datum qvoseq_state_in(PG_FUNCTION_ARGS) {
    const Datum state = DirectFunctionCall1(byteain, PG_GETARG_DATUM(0));
    check_state(state, ERRCODE_INVALID_TEXT_REPRESENTATION);
    return state;
}

Datum qvoseq_state_out(PG_FUNCTION_ARGS) {
    return DirectFunctionCall1(byteaout, PointerGetDatum(PG_DETOAST_DATUM(PG_GETARG_DATUM(0))));
}

Datum qvoseq_state_recv(PG_FUNCTION_ARGS) {
    const Datum state = DirectFunctionCall1(bytearecv, PG_GETARG_DATUM(0));
    check_state(state, ERRCODE_INVALID_BINARY_REPRESENTATION);
    return state;
}

Datum qvoseq_state_send(PG_FUNCTION_ARGS) {
    return DirectFunctionCall1(byteasend, PointerGetDatum(PG_DETOAST_DATUM(PG_GETARG_DATUM(0))));
}

PG_FUNCTION_INFO_V1(qvoseq_state_of_bytes);
PG_FUNCTION_INFO_V1(qvoseq_state_as_bytes);

Datum qvoseq_state_of_bytes(PG_FUNCTION_ARGS) {
    const qvo_datum_t bytes = bytes_of(PG_GETARG_DATUM(0));
    check_state(PG_GETARG_DATUM(0), ERRCODE_INVALID_BINARY_REPRESENTATION);
    return make_varlena(bytes.as.bytes.data, bytes.as.bytes.size);
}

Datum qvoseq_state_as_bytes(PG_FUNCTION_ARGS) { return PointerGetDatum(PG_DETOAST_DATUM_COPY(PG_GETARG_DATUM(0))); }
