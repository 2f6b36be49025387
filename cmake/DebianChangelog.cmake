# Writes the releases of a changelog in the form of Keep a Changelog (INPUT, CHANGELOG.md) as a
# Debian changelog (OUTPUT), newest first as there:
#
#   ## [1.1.0] - 2026-11-25      ->  SOURCE (1.1.0) unstable; urgency=medium
#   ### Added                    ->    * Added:
#   - an item                    ->      - an item
#     and its next line          ->        and its next line
#                                ->   -- MAINTAINER  Wed, 25 Nov 2026 00:00:00 +0000
#
# Text before the first release is the file's introduction and is left out. A line longer than
# Debian's 80 characters stops the script, naming the line.
#   cmake -DINPUT=... -DOUTPUT=... -DSOURCE=... -DMAINTAINER=... -P DebianChangelog.cmake

# The date of a release as RFC 5322 wants it; the weekday by Sakamoto's method.
function(debian_date o_Var i_Iso)
    string(REGEX MATCH "^([0-9]+)-([0-9]+)-([0-9]+)$" _ "${i_Iso}")
    math(EXPR _year "${CMAKE_MATCH_1}")
    math(EXPR _month "${CMAKE_MATCH_2}")
    math(EXPR _day "${CMAKE_MATCH_3}")
    set(_offsets 0 3 2 5 0 3 5 1 4 6 2 4)
    set(_months Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec)
    math(EXPR _index "${_month} - 1")
    list(GET _offsets ${_index} _offset)
    list(GET _months ${_index} _name)
    set(_y ${_year})
    if(_month LESS 3)
        math(EXPR _y "${_y} - 1")
    endif()
    math(EXPR _weekday "(${_y} + ${_y} / 4 - ${_y} / 100 + ${_y} / 400 + ${_offset} + ${_day}) % 7")
    set(_weekdays Sun Mon Tue Wed Thu Fri Sat)
    list(GET _weekdays ${_weekday} _weekday)
    set(${o_Var} "${_weekday}, ${_day} ${_name} ${_year} 00:00:00 +0000" PARENT_SCOPE)
endfunction()

file(STRINGS "${INPUT}" _lines)
set(_out "")
set(_trailer "")
foreach(_line IN LISTS _lines)
    if(_line MATCHES "^## \\[([^]]+)\\] - ([0-9-]+)$")
        debian_date(_date "${CMAKE_MATCH_2}")
        string(APPEND _out "${_trailer}${SOURCE} (${CMAKE_MATCH_1}) unstable; urgency=medium\n")
        set(_trailer "\n -- ${MAINTAINER}  ${_date}\n\n")
        continue()
    elseif(NOT _trailer OR _line STREQUAL "")
        continue()
    elseif(_line MATCHES "^### (.*)$")
        set(_entry "\n  * ${CMAKE_MATCH_1}:")
    elseif(_line MATCHES "^- (.*)$")
        set(_entry "    - ${CMAKE_MATCH_1}")
    elseif(_line MATCHES "^  (.*)$")
        set(_entry "      ${CMAKE_MATCH_1}")
    else()
        message(FATAL_ERROR "${INPUT}: a line of a release neither heading nor item: ${_line}")
    endif()
    string(STRIP "${_entry}" _visible)
    string(LENGTH "    ${_visible}" _length)
    if(_length GREATER 80)
        message(FATAL_ERROR "${INPUT}: too long for a Debian changelog: ${_line}")
    endif()
    string(APPEND _out "${_entry}\n")
endforeach()
string(REGEX REPLACE "\n\n$" "\n" _trailer "${_trailer}")
file(WRITE "${OUTPUT}" "${_out}${_trailer}")
