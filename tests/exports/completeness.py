#!/usr/bin/env python3
"""The export list against the names that the families imply: nothing missing, nothing extra.

The table below says what there is, family by family, and shares nothing with the header, whose macros could leave a
member out of the header, the list and the library alike.

    completeness.py MAP
"""
import itertools
import re
import sys
from collections import Counter

FIXED = "int1 int2 int4 int8 uint1 uint2 uint4 uint8 float double datetime".split()
SIGNED = "int1 int2 int4 int8 float double datetime".split()  # what has a sign to cross; datetime counts as one
ALL = FIXED + ["char"]
STAMPS = ["uint4", "uint8", "datetime"]

TYPE = re.compile(r"(?<=_)(" + "|".join(ALL) + r")(?=_|$)")

# Alternatives stand in braces, an empty one included; <t> runs over the types of the row.
NEXT = "{,_next}"
MERGED = "{,_next,_merge}"
TABLE = [
    # Settings, helpers and host services
    ([], "min_count qvo_seq_{malloc,free,sys_malloc,sys_free,redefine_allocator,alloc_buffer,free_buffer}"),
    ([], "qvo_seq_{enable_check_bindings,prepare_aggregate,contains_nulls,reset_null_bitmap}"),
    ([], "qvo_seq_{copy_bitmap,check_bindings,check_tile,code_text}"),
    ([], "qvo_seq_reset_{unary,binary,ternary}_agg_iterator qvo_seq_reset_{,unary_,binary_,ternary_}iterator"),
    ([], "qvo_{stop__,memnull,memmove,memcmp,strchr,int_get_prime_number,trace_level}"),
    ([], "qvo_trace_{modules_mask,callback}"),
    # Access, sources, slices, counts
    (ALL, "qvo_seq_{next,get,get_nullable}_<t> qvo_seq_unget_<t>" + NEXT),
    (FIXED, "qvo_seq_const_<t>" + NEXT),
    ([], "qvo_seq_const_char qvo_seq_const_next_char qvo_seq_unget_reset"),
    ([], "qvo_seq_{limit,tee,rle_decode}" + NEXT + " qvo_seq_reset_tee_iterator"),
    ([], "qvo_seq_agg_count qvo_seq_agg_count_not_null qvo_seq_count_{next,not_null_next,merge}"),
    # Element-wise operators
    (FIXED, "qvo_seq_{add,sub,mul,div,mod,max,min,abs,neg}_<t>" + NEXT),
    (ALL, "qvo_seq_{eq,ne,ge,le,gt,lt}_<t>" + NEXT),
    ([], "qvo_seq_{and,or,xor,not}{,_qvo_seq_bool_next} qvo_seq_add_char" + NEXT),
    (FIXED, "qvo_seq_<t>_to_{%s}{,_next}" % ",".join(FIXED)),
    (FIXED, "qvo_seq_<t>_from_{%s}" % ",".join(FIXED)),
    # Text, callbacks, patterns
    (ALL, "qvo_seq_parse_<t>" + NEXT),
    ([], "qvo_seq_{custom_parse,print_char,cat}" + NEXT + " qvo_seq_reset_{,custom_}parse_iterator"),
    (ALL, "qvo_seq_{func,func2,cond}{,_ctx}_<t>" + NEXT),
    ([], "qvo_seq_match" + NEXT + " qvo_seq_match_{substring,regex} qvo_seq_exact_match"),
    # Choice, filters, shaping, combination
    (ALL, "qvo_seq_{iif,if,filter,thin,repeat,reverse}_<t>" + NEXT),
    ([], "qvo_seq_{iif,if,filter_pos,map,concat,order_by}_reset qvo_seq_{filter_pos,concat}" + NEXT),
    (FIXED, "qvo_seq_{norm,diff,trend}_<t>" + NEXT),
    (ALL, "qvo_seq_reverse_<t>_reset"),
    ([], "qvo_seq_reset_repeat_iterator"),
    ([], "qvo_seq_filter_first_pos" + MERGED + " qvo_seq_filter_search qvo_seq_get_first_pos"),
    (ALL, "qvo_seq_{map,unique,order_by}_<t>" + NEXT),
    (ALL, "qvo_seq_join_<t>"),
    ([], "qvo_seq_meta_iterator_{next,reset} qvo_seq_{reset_union,cross_reset}_iterator"),
    (FIXED, "qvo_seq_union_<t>" + NEXT + " qvo_seq_cross_<t>"),
    (SIGNED, "qvo_seq_cross_<t>_next"),
    (["float", "double"], "qvo_seq_skip_nan_<t>" + NEXT),
    (FIXED, "qvo_seq_{histogram,extrema,aprogres}_<t>" + NEXT + " qvo_seq_extrema_<t>_reset_iterator"),
    # Aggregates
    (FIXED, "qvo_seq_agg_{max,min,sum,prd,avg,var,var_samp,dev,dev_samp}_<t>" + MERGED),
    (FIXED, "qvo_seq_agg_min_max_<t>" + NEXT + " qvo_seq_{cov,corr,wsum,wavg}_<t>" + MERGED),
    (FIXED, "qvo_seq_window_agg_{sum,avg,min,max,var,var_samp,dev,dev_samp,ema,atr}_<t>{,_next,_reset}"),
    (FIXED, "qvo_seq_cum_agg_{sum,avg,var,var_samp,dev,dev_samp,prd,max,min}_<t>" + NEXT),
    (FIXED, "qvo_seq_group_agg_{max,min,sum,avg,var,var_samp,dev,dev_samp,first,last,wavg}_<t>" + NEXT),
    ([], "qvo_seq_group_agg_{count,approxdc,approxdc_hash}" + NEXT),
    (FIXED, "qvo_seq_grid_agg_{max,min,sum,avg,var,var_samp,dev,dev_samp}_<t>" + NEXT),
    (FIXED, "qvo_seq_top_{max,min}_<t>" + MERGED + " qvo_seq_top_pos_{max,min}_<t>" + NEXT),
    ([], "qvo_seq_agg_approxdc" + MERGED + " qvo_seq_agg_approxdc_hash" + NEXT + " qvo_seq_hash" + NEXT),
    ([], "murmur_hash3_32 calculate_zero_bits calculate_hash_functions merge_zero_bits approximate_distinct_count"),
    # Hash aggregates: two result iterators each, so two forms of next
    (FIXED, "qvo_seq_hash_agg_{sum,avg,max,min}_<t>{,_next_agg,_next_grp} "
            "qvo_seq_hash_{initialize,merge}_{sum,avg,max,min}_<t>"),
    ([], "qvo_seq_hash_agg_approxdc{,_next_agg,_next_grp} "
         "qvo_seq_hash_agg_count{,_uint8,_uint8_next_agg,_uint8_next_grp}"),
    ([], "qvo_seq_hash_{initialize,merge}_{approxdc,count_uint8} qvo_seq_hash_agg_{reset,dup_count,distinct_count}"),
    ([], "qvo_seq_dup_hash_{initialize,merge,prepare,next_count,next_grp} qvo_seq_{free,release}_hash"),
    ([], "qvo_seq_hash_table_{load_factor,init_size} qvo_seq_is_hash_aggreate"),
    # Order and alignment
    (FIXED, "qvo_seq_sort_<t> {sorted,rev_sorted,init_permutation,insertion_sort,median_estimate,heap_sort,qloop}_<t>"),
    (FIXED, "qvo_seq_{stretch,stretch0,asof_join}_{%s}_<t>{,_next,_reset}" % ",".join(STAMPS)),
]


def expand(pattern):
    parts = [part[1:-1].split(",") if part.startswith("{") else [part] for part in re.split(r"(\{[^}]*\})", pattern)]
    return ("".join(choice) for choice in itertools.product(*parts))


def implied():
    names = []
    for types, patterns in TABLE:
        for pattern in patterns.split():
            for name in expand(pattern):
                names += [name.replace("<t>", t) for t in types] if types else [name]
    if twice := sorted(name for name, n in Counter(names).items() if n > 1):
        sys.exit("named twice in the table: " + ", ".join(twice))
    return set(names)


def main():
    with open(sys.argv[1], encoding="utf-8") as export_list:
        exported = set(re.findall(r"^\s+(\w+);$", export_list.read(), re.MULTILINE))
    names = implied()
    for title, wrong in (("missing", names - exported), ("extra", exported - names)):
        if wrong:
            families = sorted({TYPE.sub("<t>", name) for name in wrong})
            print(f"{len(wrong)} names are {title}:\n  " + "\n  ".join(families))
    print(f"{len(names)} names implied, {len(exported)} exported")
    sys.exit(names != exported)


if __name__ == "__main__":
    main()
