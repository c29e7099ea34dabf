# Adds to kavril_options what makes an overwritten stack or table of functions end the
# process instead of being used, as Debian builds its packages. The sanitizers have checks
# of their own.
if(NOT KAVRIL_HARDEN OR KAVRIL_SANITIZE)
  return()
endif()

target_compile_options(kavril_options INTERFACE -fstack-protector-strong)
# Needs optimisation.
target_compile_options(kavril_options INTERFACE
  $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
# All symbols are bound when the library is loaded, and the table of them is then read-only.
target_link_options(kavril_options INTERFACE -Wl,-z,relro,-z,now)

if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  # Debian's start files bear no mark for indirect branches, so that the linker would leave
  # out both; a shadow stack asks nothing of them.
  target_compile_options(kavril_options INTERFACE -fcf-protection=full)
  target_link_options(kavril_options INTERFACE -Wl,-z,shstk)
elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  target_compile_options(kavril_options INTERFACE -mbranch-protection=standard)
endif()
