# bench/ini_bench compares IniFileReader with other INI readers; it is built only where they are
# all installed (on Debian: libinih-dev libsimpleini-dev libboost-dev libicu-dev).
find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND)
    pkg_check_modules(INI_BENCH_INIH QUIET IMPORTED_TARGET inih)
    pkg_check_modules(INI_BENCH_SIMPLEINI QUIET IMPORTED_TARGET simpleini)
    pkg_check_modules(INI_BENCH_ICU QUIET IMPORTED_TARGET icu-uc)
endif()
find_package(Boost 1.65 QUIET)
find_path(INI_BENCH_PROPERTY_TREE boost/property_tree/ini_parser.hpp)

if(INI_BENCH_INIH_FOUND AND INI_BENCH_SIMPLEINI_FOUND AND INI_BENCH_ICU_FOUND AND Boost_FOUND
   AND INI_BENCH_PROPERTY_TREE)
    add_executable(ini_bench ${CMAKE_CURRENT_SOURCE_DIR}/ini_bench.cpp)
    # Debian's SimpleIni header has to be told which converter to use for its wide variants.
    target_compile_definitions(ini_bench PRIVATE SI_CONVERT_ICU)
    target_link_libraries(ini_bench PRIVATE Tessarine::Tessarine tessarine_support PkgConfig::INI_BENCH_INIH
                          PkgConfig::INI_BENCH_SIMPLEINI PkgConfig::INI_BENCH_ICU Boost::headers
                          tessarine_warnings)
else()
    message(STATUS "ini_bench is not built: inih, SimpleIni, ICU or boost property_tree is "
                   "missing (on Debian: libinih-dev libsimpleini-dev libboost-dev libicu-dev)")
endif()
