# SPDX-License-Identifier: MIT
# Scans SOURCES into a copy (WORK) of the translation TS and fails, naming
# them, when any text there has no finished translation.
file(COPY_FILE ${TS} ${WORK})
execute_process(COMMAND ${LUPDATE} -silent -no-obsolete -locations none ${SOURCES} -ts ${WORK}
                RESULT_VARIABLE scanned OUTPUT_QUIET)
if(NOT scanned EQUAL 0)
  message(FATAL_ERROR "lupdate could not scan the sources")
endif()
file(READ ${WORK} text)
string(REGEX MATCHALL "<source>[^<]*</source>[ \t\r\n]*<translation type=\"unfinished\"" unfinished "${text}")
if(unfinished)
  set(names "")
  foreach(entry IN LISTS unfinished)
    string(REGEX REPLACE "<source>([^<]*)</source>.*" "\\1" source "${entry}")
    string(APPEND names "\n  \"${source}\"")
  endforeach()
  get_filename_component(ts_name ${TS} NAME)
  message(FATAL_ERROR "These texts have no translation in ${ts_name}:${names}\n"
                      "Run lupdate on src/ui and src/app into it, and translate them.")
endif()
