# Reads the symbols of an object for wider processors:
#   cmake -DNM=nm -DOBJECT=file -DEXPORTS=name[,name ...] -P check_symbols.cmake
# where the names are patterns for the only functions that it exports, in alphabetical order.
#
# An inline function or a template compiled with wide instructions and left as a weak symbol can be linked for every
# caller; a static constructor would run wide code when the library is loaded. Neither may exist.
execute_process(COMMAND ${NM} ${OBJECT} OUTPUT_VARIABLE symbols RESULT_VARIABLE failed)
if(failed OR symbols STREQUAL "")
  message(FATAL_ERROR "cannot read the symbols of ${OBJECT}")
endif()
string(REPLACE "\n" ";" lines "${symbols}")
set(defined "")
foreach(line IN LISTS lines)
  if(line MATCHES "__x86\\.get_pc_thunk")  # position-independent 32-bit code; no vector instruction in it
    continue()
  endif()
  if(line MATCHES " [WVuw] ")
    message(FATAL_ERROR "weak symbol: ${line}")
  endif()
  if(line MATCHES "_GLOBAL__sub_I|init_array")
    message(FATAL_ERROR "static constructor: ${line}")
  endif()
  if(line MATCHES " [BDCbdS] _?[^.]")
    message(FATAL_ERROR "writable data: ${line}")
  endif()
  if(line MATCHES " T (.*)$")
    list(APPEND defined "${CMAKE_MATCH_1}")
  endif()
  if(line MATCHES " U _?(.*)$" AND NOT CMAKE_MATCH_1 MATCHES "^(_?GLOBAL_OFFSET_TABLE_|memcpy|memset|_*chkstk_ms)$")
    message(FATAL_ERROR "calls something outside: ${line}")
  endif()
endforeach()
string(REPLACE "," ";_?" pattern "_?${EXPORTS}")
list(SORT defined)
if(NOT "${defined}" MATCHES "^${pattern}$")
  message(FATAL_ERROR "exports ${defined}, not ${EXPORTS} alone")
endif()
