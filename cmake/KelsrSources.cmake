# Library sources: every .cpp under src/. Files named *_sse2.cpp, *_avx2.cpp and *_avx512.cpp hold
# one SIMD target each and get that target's flags only; they are left out off x86.
file(GLOB_RECURSE KELSR_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.cpp)

set(KELSR_X86 OFF)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64|i[3-6]86|x86)$")
  set(KELSR_X86 ON)
endif()

foreach(src IN LISTS KELSR_SOURCES)
  if(src MATCHES "_(sse2|avx2|avx512)\\.cpp$")
    if(NOT KELSR_X86)
      list(REMOVE_ITEM KELSR_SOURCES ${src})
    elseif(src MATCHES "_avx512\\.cpp$")
      set_source_files_properties(${src} PROPERTIES COMPILE_OPTIONS
        "-mavx512f;-mavx512dq;-mavx512bw;-mavx512vl;-mno-fma")
    elseif(src MATCHES "_avx2\\.cpp$")
      set_source_files_properties(${src} PROPERTIES COMPILE_OPTIONS "-mavx2;-mno-fma")
    else()
      set_source_files_properties(${src} PROPERTIES COMPILE_OPTIONS "-msse2")
    endif()
  endif()
endforeach()
if(KELSR_X86)
  add_compile_definitions(KELSR_X86=1)
endif()
