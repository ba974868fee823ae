# One interface target carries language level, warnings, hardening and
# sanitizer flags; every target of the project links it.
add_library(ict_settings INTERFACE)
target_compile_features(ict_settings INTERFACE cxx_std_20)
set(CMAKE_CXX_EXTENSIONS OFF)

target_compile_options(ict_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wcast-align
    -Woverloaded-virtual -Wformat=2 -Wimplicit-fallthrough
    -Wold-style-cast -Wsuggest-override -Wcast-qual
    # Clang 14 sees a null pointer in every defaulted operator<=> (the
    # literal 0 a comparison category is compared with); GCC builds every
    # source and checks it there.
    $<$<CXX_COMPILER_ID:GNU>:-Wzero-as-null-pointer-constant>
    -Wmissing-declarations -Wextra-semi
    # Clang's -Wmissing-declarations is about empty declarations; the check
    # for definitions without a prior declaration is -Wmissing-prototypes.
    $<$<CXX_COMPILER_ID:Clang>:-Wmissing-prototypes>
    $<$<BOOL:${ICT_WERROR}>:-Werror>
    -fstack-protector-strong)
target_compile_definitions(ict_settings INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>
    BOOST_ALL_NO_LIB)

if(ICT_SANITIZE)
    set(ict_sanitize_flags -fsanitize=address,undefined -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    target_compile_options(ict_settings INTERFACE ${ict_sanitize_flags}
        # GCC 12 sees uninitialised members inside std::regex and
        # std::function once sanitizers and optimisation meet; the
        # sanitizers themselves check the real thing.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(ict_settings INTERFACE ${ict_sanitize_flags})
endif()

if(ICT_SANITIZE_THREAD)
    if(ICT_SANITIZE)
        message(FATAL_ERROR "ICT_SANITIZE_THREAD and ICT_SANITIZE exclude each other")
    endif()
    set(ict_tsan_flags -fsanitize=thread -fno-omit-frame-pointer)
    target_compile_options(ict_settings INTERFACE ${ict_tsan_flags})
    target_link_options(ict_settings INTERFACE ${ict_tsan_flags})
endif()

if(ICT_BUILD_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "ICT_BUILD_FUZZ needs clang (CXX=clang++)")
    endif()
    # Coverage feedback for every own target; the fuzz programs add the driver.
    target_compile_options(ict_settings INTERFACE -fsanitize=fuzzer-no-link)
endif()
