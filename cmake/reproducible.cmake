# The same source gives the same bytes wherever and whenever it is built: no paths of the
# machine in what is compiled, but for debuggers, and one date, SOURCE_DATE_EPOCH or else that
# of the last commit.
foreach(map ${PROJECT_BINARY_DIR}=build ${PROJECT_SOURCE_DIR}=.)
  target_compile_options(kavril_options INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${map}>)
endforeach()

if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(KAVRIL_EPOCH $ENV{SOURCE_DATE_EPOCH})
else()
  find_package(Git QUIET)
  if(Git_FOUND)
    execute_process(COMMAND ${GIT_EXECUTABLE} log -1 --format=%ct
                    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
                    OUTPUT_VARIABLE KAVRIL_EPOCH OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  endif()
  if(NOT KAVRIL_EPOCH)
    set(KAVRIL_EPOCH 315619200)  # 1980-01-02, which archives can hold
  endif()
endif()
set(ENV{SOURCE_DATE_EPOCH} ${KAVRIL_EPOCH})
