# The target `reference`: refreshes what is written from the catalog inside the value library.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_Interpreter_FOUND)
  set(written "")
  foreach(page function_reference:docs/functions.md python_stubs:hosts/python/qvoseq postgres_script:hosts/postgres)
    string(REPLACE ":" ";" page ${page})
    list(GET page 0 tool)
    list(GET page 1 to)
    list(APPEND written COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/tools/${tool}.py write
         $<TARGET_FILE:qvovalue> ${PROJECT_SOURCE_DIR}/${to})
  endforeach()
  add_custom_target(reference ${written} VERBATIM
    COMMENT "Refreshing docs/functions.md, the stubs for Python and the script for PostgreSQL")
  add_dependencies(reference qvovalue)
endif()
