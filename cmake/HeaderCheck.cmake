# Every public header must compile on its own, first in its file.

set(units)
foreach(header IN LISTS BOKFOLIO_PUBLIC_HEADERS)
  file(RELATIVE_PATH name ${PROJECT_SOURCE_DIR} ${header})
  string(MAKE_C_IDENTIFIER ${name} unit)
  set(unit ${PROJECT_BINARY_DIR}/header_check/${unit}.cpp)
  file(CONFIGURE OUTPUT ${unit} CONTENT "#include \"${name}\"\n")
  list(APPEND units ${unit})
endforeach()
add_library(bokfolio_header_check OBJECT ${units})
target_include_directories(bokfolio_header_check PRIVATE ${PROJECT_SOURCE_DIR} ${BOKFOLIO_GENERATED})
target_compile_options(bokfolio_header_check PRIVATE -O0 -g0)
target_link_libraries(bokfolio_header_check PRIVATE bokfolio_warnings)
