# Writes a jar whose bytes depend on nothing but its files:
#
#     cmake -DTOOL=jar -DTO=x.jar -DFROM=folder -DPATTERN=*.java [-DOPTIONS=...] -P jar.cmake
#
# The entries are the folder's files that match the pattern, by name, all of one date: that of
# SOURCE_DATE_EPOCH if it is set, else the first that an archive can hold. The jar tools of Java 11
# to 16 know no such date.
set(oldest 315532802)
if(NOT "$ENV{SOURCE_DATE_EPOCH}" MATCHES "^[0-9]+$" OR "$ENV{SOURCE_DATE_EPOCH}" LESS oldest)
  set(ENV{SOURCE_DATE_EPOCH} ${oldest})
endif()
string(TIMESTAMP date "%Y-%m-%dT%H:%M:%SZ" UTC)

separate_arguments(OPTIONS)
execute_process(COMMAND ${TOOL} --help OUTPUT_VARIABLE help COMMAND_ERROR_IS_FATAL ANY)
if(help MATCHES "--date=")
  list(APPEND OPTIONS --date=${date})
endif()
file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE ${FROM} ${FROM}/${PATTERN})
list(JOIN files "\n" lines)
file(WRITE ${TO}.files "${lines}\n")
execute_process(COMMAND ${TOOL} --create --file ${TO} ${OPTIONS} @${TO}.files
                WORKING_DIRECTORY ${FROM} COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE ${TO}.files)
