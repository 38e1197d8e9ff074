# What makes a fault in memory end the process rather than serve whoever has found it: guarded stack
# frames, bounded copies, tables of addresses that are read-only from the start, no code where data
# is, and addresses that differ from run to run.
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
include(CheckPIESupported)

check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Copies can be bounded in optimised code only; some compilers have a level of their own.
target_compile_options(vu_hardening INTERFACE
  $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
foreach(flag -fstack-protector-strong -fcf-protection)
  string(MAKE_C_IDENTIFIER VU_HAS${flag} has)
  check_cxx_compiler_flag(${flag} ${has})
  if(${has})
    target_compile_options(vu_hardening INTERFACE ${flag})
  endif()
endforeach()
foreach(keyword relro now noexecstack)
  check_linker_flag(CXX LINKER:-z,${keyword} VU_HAS_LINKER_${keyword})
  if(VU_HAS_LINKER_${keyword})
    target_link_options(vu_hardening INTERFACE LINKER:-z,${keyword})
  endif()
endforeach()
