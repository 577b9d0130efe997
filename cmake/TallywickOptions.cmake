# SPDX-License-Identifier: MIT
# Checks of the identity values and the warning and sanitizer flags shared by every target.

string(LENGTH "${signingTeamIdentifier}" _teamLength)
if(NOT _teamLength EQUAL 10 OR NOT signingTeamIdentifier MATCHES "^[A-Za-z0-9]+$")
  message(FATAL_ERROR "signingTeamIdentifier must be ten letters or digits, got '${signingTeamIdentifier}'")
endif()
# The identifier ends up inside quoted requirement texts and C++ string literals.
if(NOT bundleIdentifierBase MATCHES "^[A-Za-z0-9][A-Za-z0-9.-]*[A-Za-z0-9]$")
  message(FATAL_ERROR "bundleIdentifierBase must be a reverse-DNS name of letters, digits, dots and hyphens")
endif()

# Every target of ours builds with the same strict warnings. Records have no
# member defaults, so -Wextra's missing-field-initializers makes a field left
# out of a designated initialiser a compile error; a struct whose members may
# be left out (handlers, options) says so with a default of its own. Tests
# build records from the fields a case is about, the rest value-initialised,
# so there the check would only add noise.
function(tallywick_defaults target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
  if(CMAKE_CURRENT_SOURCE_DIR MATCHES "^${PROJECT_SOURCE_DIR}/tests(/|$)")
    target_compile_options(${target} PRIVATE -Wno-missing-field-initializers)
  endif()
  # GCC 12 at -O3 reports "x" + std::to_string(n) as overlapping copies
  # (GCC bug 105329); a false positive that would fail Release builds.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
endfunction()

if(TALLYWICK_SANITIZE)
  add_compile_options(-fsanitize=${TALLYWICK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TALLYWICK_SANITIZE})
endif()

# The programs we ship sit side by side in one bin folder, in the build tree
# as once installed, so each finds the others beside itself.
function(tallywick_program target)
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
  install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endfunction()
