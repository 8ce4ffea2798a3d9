# The target `reference`: refreshes what is written from the catalog inside the value library. The stubs of the Python
# package are written from the package as it is installed: tools/python_stubs.py.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_Interpreter_FOUND)
  set(written "")
  foreach(page function_reference:docs/functions.md postgres_script:hosts/postgres)
    string(REPLACE ":" ";" page ${page})
    list(GET page 0 tool)
    list(GET page 1 to)
    list(APPEND written COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/tools/${tool}.py write
         $<TARGET_FILE:qvovalue> ${PROJECT_SOURCE_DIR}/${to})
  endforeach()
  add_custom_target(reference ${written} VERBATIM
    COMMENT "Refreshing docs/functions.md and the scripts for PostgreSQL")
  add_dependencies(reference qvovalue)
endif()
