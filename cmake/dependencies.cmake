# Third-party libraries come from Debian packages and are included as SYSTEM
# headers so that our warning flags do not apply to them: every one is an
# imported target, whose include directories CMake marks SYSTEM.
find_package(Boost 1.74 REQUIRED COMPONENTS program_options filesystem regex date_time)
find_package(OpenSSL 3 REQUIRED)
find_package(ZLIB REQUIRED)
find_package(Threads REQUIRED)
# Only the signing tool talks to time-stamping authorities.
find_package(CURL REQUIRED)

find_path(TINYXML_INCLUDE_DIR tinyxml.h REQUIRED)
find_library(TINYXML_LIBRARY tinyxml REQUIRED)
add_library(tinyxml::tinyxml UNKNOWN IMPORTED)
set_target_properties(tinyxml::tinyxml PROPERTIES
    IMPORTED_LOCATION "${TINYXML_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${TINYXML_INCLUDE_DIR}"
    INTERFACE_COMPILE_DEFINITIONS TIXML_USE_STL)
