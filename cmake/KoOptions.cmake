# Compile options shared by every target of the project.
add_library(ko_options INTERFACE)
target_compile_features(ko_options INTERFACE cxx_std_20)
target_compile_options(
    ko_options
    INTERFACE -Wall
              -Wextra
              -Wpedantic
              -Wshadow
              -Wconversion
              -Wno-sign-conversion
              -Wnon-virtual-dtor
              -Woverloaded-virtual
              $<$<BOOL:${KO_WERROR}>:-Werror>)
# Clang makes no vectors of some loops of which GCC makes them, nor of any that are instrumented, and warns of each. That
# is slow, not wrong, and `rules.kernels_have_vectors` watches over GCC, which makes the packages.
target_compile_options(ko_options INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wno-pass-failed>)

if(KO_SANITIZE)
    add_compile_options(-fsanitize=${KO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${KO_SANITIZE})
endif()

# Options of the libraries alone. Contracted multiply-adds would round differently on CPUs that have
# them, and errno keeps the compiler from vectorising sqrt.
add_library(ko_library_options INTERFACE)
target_compile_options(ko_library_options INTERFACE -ffp-contract=off -fno-math-errno)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
    # Every ARM processor has contracted multiply-adds, so what the libraries are compared with must not use them
    # either. Kernels keep vectors in arrays and count lanes at compile time, which the vectors of SVE, whose width is
    # known at run time alone, forbid: NEON serves. As every processor has that, Highway is told that there is nothing
    # to find out at run time. It would compile kernels for a target of their own, whose vectors GCC does not let into
    # the constructors that it writes for structs of vectors.
    add_compile_options(-ffp-contract=off)
    set(disabled_targets "(HWY_SVE|HWY_SVE2|HWY_SVE_256|HWY_SVE2_128)")
    target_compile_definitions(ko_library_options INTERFACE TOOLCHAIN_MISS_SYS_AUXV_H)
else()
    # SSSE3 machines take the scalar path: one kernel build less for processors that are long gone.
    set(disabled_targets HWY_SSSE3)
endif()
target_compile_definitions(ko_library_options INTERFACE "HWY_DISABLED_TARGETS=${disabled_targets}" QT_NO_KEYWORDS)
# The scalar path is one lane wide, as GCC before 12.3 makes it anyway: Highway's emulated vectors would read
# interleaved samples through pointers of their type, at addresses that are not aligned for it.
if(NOT (CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 12.3))
    target_compile_definitions(ko_library_options INTERFACE HWY_BROKEN_EMU128=1)
endif()
target_include_directories(ko_library_options INTERFACE "${PROJECT_SOURCE_DIR}/src")
target_link_libraries(ko_library_options INTERFACE ko_options hwy::hwy OpenMP::OpenMP_CXX)
