# Makes every optimised build refuse to go on when memory is damaged.
#
# The filter reads documents of strangers under the print system; a mistake in it must end a job,
# not hand over the machine. None of this changes a dot.
include(CheckPIESupported)
# Without this CMake compiles for a position-independent executable, but links none with clang++.
check_pie_supported(LANGUAGES CXX OUTPUT_VARIABLE pie_problem)
if(NOT CMAKE_CXX_LINK_PIE_SUPPORTED)
  message(STATUS "Executables will not be position-independent: ${pie_problem}")
endif()

target_compile_options(kestra_build INTERFACE -fstack-protector-strong -Wformat
                       -Werror=format-security)
target_link_options(kestra_build INTERFACE LINKER:-z,relro LINKER:-z,now)

# Checked string functions need an optimising compiler, and they would hide from the sanitizers
# what those look for. Some compilers define a level of their own, so it is taken back first.
if(NOT KESTRA_SANITIZE)
  set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  target_compile_options(kestra_build INTERFACE
                         $<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>)
endif()
