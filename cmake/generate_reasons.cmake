# Makes what C++ knows of the reason codes from their one source (src/mq/reasons.tsv: table, name, value and description,
# separated by tabs, one heading line): mq/mqi_reasons.h with a constant for every name, and mq/reason_table.inc with the
# rows of the dictionary in the same order.
set(source ${CMAKE_SOURCE_DIR}/src/mq/reasons.tsv)
set(generated ${CMAKE_BINARY_DIR}/generated)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})

file(STRINGS ${source} lines)
list(POP_FRONT lines)
set(rows "")
set(constants "")
foreach(line IN LISTS lines)
  if(NOT line MATCHES "^(reason|feedback)\t([A-Z0-9_]*)\t([0-9]+)\t([^\t\"]*)$")
    message(FATAL_ERROR "${source}: not a row of the dictionary: ${line}")
  endif()
  string(APPEND rows "{${CMAKE_MATCH_3}, \"${CMAKE_MATCH_2}\", \"${CMAKE_MATCH_4}\"},\n")
  if(CMAKE_MATCH_2)
    list(APPEND constants "${CMAKE_MATCH_2} = ${CMAKE_MATCH_3}")
  endif()
endforeach()
list(REMOVE_DUPLICATES constants)
list(TRANSFORM constants PREPEND "inline constexpr MQLONG ")
list(JOIN constants ";\n" constants)

# Written only when the content changes, so that configuring anew compiles nothing anew.
file(CONFIGURE OUTPUT ${generated}/mq/reason_table.inc CONTENT "// Made from reasons.tsv.\n${rows}" @ONLY)
file(CONFIGURE OUTPUT ${generated}/mq/mqi_reasons.h @ONLY
     CONTENT "#pragma once\n\n// Made from reasons.tsv.\n\n#include \"mq/mqi_constants.h\"\n\n${constants};\n")
target_include_directories(tarvo_flags INTERFACE ${generated})
