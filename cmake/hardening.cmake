# What makes faults harder to exploit and costs nothing that the benchmarks show: checked stack frames and copies, tables of
# the loader that are read-only before the first call. (Marks for indirect branches are left out: cumulative aggregates
# take half as long again with them.) For what this project builds, and for nothing else of a project that contains it.
include(CheckCXXCompilerFlag)

if(QVOSEQ_SANITIZE)
  return()
endif()
add_compile_options(-fstack-protector-strong)
# Copies are checked by inlined functions, which a build without optimisation does not have.
add_compile_options("$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
check_cxx_compiler_flag(-fstack-clash-protection QVOSEQ_HAVE_STACK_CLASH_PROTECTION)
if(QVOSEQ_HAVE_STACK_CLASH_PROTECTION)
  add_compile_options(-fstack-clash-protection)
endif()
add_link_options(-Wl,-z,relro -Wl,-z,now)
