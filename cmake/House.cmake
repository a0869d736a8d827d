# The options every target of the project shares, and the two kinds of target that come in numbers.

set(TAVOLA_SANITIZER "" CACHE STRING "Sanitizers to build with: empty, 'address' (with undefined) or 'thread'")
option(TAVOLA_PRECOMPILE "Precompile the Qt headers that most sources include" ON)

# Qt headers that nearly every source of the toolkit reads; standard headers that are slow to parse.
set(HOUSE_PRECOMPILED_HEADERS
    <functional> <map> <memory> <string> <vector> <QByteArray> <QString> <QList>)

# house_options(target): language level, warnings, visibility, sanitizers.
function(house_options target)
    # The loader searches all of these folders for each library of the system, too.
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "EXECUTABLE")
        set(places "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
    elseif(type STREQUAL "SHARED_LIBRARY")
        set(places "$ORIGIN")
    else()
        set(places "$ORIGIN;$ORIGIN/..;$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
    endif()
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON
        INSTALL_RPATH "${places}")
    target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII QT_DEPRECATED_WARNINGS)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wno-psabi)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # A library that holds unique symbols stays in memory after dlclose, and its static destructors do not run.
        target_compile_options(${target} PRIVATE -fno-gnu-unique)
        # No library replaces a function of another: calls inside a library need not go through the loader's table.
        target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    endif()
    target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions -Wl,-O1)
    if(TAVOLA_WARNINGS_ARE_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(TAVOLA_SANITIZER STREQUAL "address")
        target_compile_options(${target} PRIVATE -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=address,undefined)
    elseif(TAVOLA_SANITIZER STREQUAL "thread")
        target_compile_options(${target} PRIVATE -fsanitize=thread -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=thread)
    endif()
endfunction()

# Precompiles the common headers for a target of many sources.
function(house_precompile target)
    if(TAVOLA_PRECOMPILE)
        target_precompile_headers(${target} PRIVATE ${HOUSE_PRECOMPILED_HEADERS} ${ARGN})
    endif()
endfunction()

option(TAVOLA_COMPILE_TOGETHER "Compile the sources of one folder together, which takes a third of the time of a build from nothing" OFF)
option(TAVOLA_TESTS_TOGETHER "The same for tests, whose headers take most of their time: a sixth of it" ON)

# Lets the sources of each folder of a target be one compilation. Unnamed namespaces of one folder then share their names. APART
# names folders whose sources do not.
function(house_join_folders target)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "APART")
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    # A class of one of these sources is in no header.
    target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
    get_target_property(sources ${target} SOURCES)
    foreach(source IN LISTS sources)
        get_filename_component(folder ${source} DIRECTORY)
        if(source MATCHES "\\.cpp$" AND NOT folder IN_LIST ARG_APART)
            string(MAKE_C_IDENTIFIER "folder_${folder}" group)
            set_source_files_properties(${source} TARGET_DIRECTORY ${target} PROPERTIES UNITY_GROUP ${group})
        endif()
    endforeach()
endfunction()

# The sources of each folder of a library are one compilation where TAVOLA_COMPILE_TOGETHER says so: in the builds with
# sanitizers, of which continuous integration has two.
function(house_compile_together target)
    if(TAVOLA_COMPILE_TOGETHER)
        house_join_folders(${target} ${ARGN})
    endif()
endfunction()

# house_library(name SOURCES ... LINKS ... [PRIVATE_LINKS ...]): a shared library of the platform with
# include/ (public) and src/. LINKS names the libraries below it whose headers its own public headers include.
function(house_library name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "ALIAS" "SOURCES;LINKS;PRIVATE_LINKS")
    add_library(${name} SHARED ${ARG_SOURCES})
    if(ARG_ALIAS)
        add_library(Tavola::${ARG_ALIAS} ALIAS ${name})
    endif()
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/include PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${ARG_LINKS} PRIVATE ${ARG_PRIVATE_LINKS})
    # A missing symbol is found when the library is linked, not when a table opens.
    if(NOT TAVOLA_SANITIZER)
        target_link_options(${name} PRIVATE -Wl,--no-undefined)
    endif()
    house_options(${name})
    house_check_headers(${name})
    install(TARGETS ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

# Every public header must compile alone: one generated source per header, built by the target check_headers.
function(house_check_headers name)
    file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR}/include ${CMAKE_CURRENT_SOURCE_DIR}/include/*.hpp ${CMAKE_CURRENT_SOURCE_DIR}/include/*.h)
    set(sources)
    foreach(header IN LISTS headers)
        string(MAKE_C_IDENTIFIER ${header} stem)
        set(source ${CMAKE_CURRENT_BINARY_DIR}/header_checks/${stem}.cpp)
        file(CONFIGURE OUTPUT ${source} CONTENT "#include <${header}>\n")
        list(APPEND sources ${source})
    endforeach()
    if(NOT TARGET check_headers)
        add_custom_target(check_headers)
    endif()
    if(sources)
        add_library(${name}_headers OBJECT EXCLUDE_FROM_ALL ${sources})
        target_link_libraries(${name}_headers PRIVATE ${name})
        house_options(${name}_headers)
        add_dependencies(check_headers ${name}_headers)
    endif()
endfunction()

# house_stamp_plugin(target): lets the host load a plug-in faster. Its functions are bound at their first use where it runs with the
# libraries that it was linked with, and those that the host brings are in its stamp only (PluginStamp.hpp). Code and constants
# are in one segment, which the kernel maps at once.
function(house_stamp_plugin target)
    target_sources(${target} PRIVATE ${CMAKE_SOURCE_DIR}/cmake/StampNote.cpp)
    target_link_options(${target} PRIVATE -Wl,-z,noseparate-code)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${CMAKE_SOURCE_DIR}/cmake/stamp-plugin)
    if(NOT TAVOLA_SANITIZER)
        find_program(TAVOLA_PATCHELF patchelf REQUIRED DOC "Edits the list of libraries of a plug-in")
        add_custom_command(TARGET ${target} POST_BUILD
            COMMAND ${CMAKE_SOURCE_DIR}/cmake/stamp-plugin $<TARGET_FILE:${target}> $<TARGET_FILE_DIR:bedrock> VERBATIM)
    endif()
endfunction()

# house_test(name SOURCES ATest.cpp BTest.cpp ... LINKS ... [THREADS BTest] [LABELS unit]): one test program, one ctest entry
# per source file, run without a display. A file whose filter finds no test case fails. THREADS names the files whose tests
# start threads: these entries have the label "threads", and the target "threads" builds their programs, for ThreadSanitizer.
# OPENGL: the program gets an X11 screen in memory, on which Mesa draws; without a display there is no OpenGL.
option(TAVOLA_ONLY_THREADS "Compile only those tests into the test programs that start threads" OFF)
add_custom_target(threads)
function(house_test name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "OPENGL" "" "SOURCES;HELPERS;LINKS;THREADS;LABELS;ENVIRONMENT")
    set(threaded)
    foreach(source IN LISTS ARG_SOURCES)
        get_filename_component(stem ${source} NAME_WE)
        if(stem IN_LIST ARG_THREADS)
            list(APPEND threaded ${source})
            list(REMOVE_ITEM ARG_THREADS ${stem})
        endif()
    endforeach()
    if(ARG_THREADS) # A file that was moved or removed: red, but the rest can be built.
        message(WARNING "${name}: THREADS names ${ARG_THREADS}, which SOURCES do not have")
        add_test(NAME ${name}.THREADS_names_files_of_SOURCES COMMAND ${CMAKE_COMMAND} -E false)
        set_tests_properties(${name}.THREADS_names_files_of_SOURCES PROPERTIES LABELS threads)
    endif()

    set(sources ${ARG_SOURCES})
    if(TAVOLA_ONLY_THREADS)
        set(ARG_SOURCES ${threaded})
    endif()
    if(ARG_SOURCES)
        add_executable(${name} ${ARG_SOURCES} ${ARG_HELPERS})
    else()
        add_executable(${name} EXCLUDE_FROM_ALL ${sources} ${ARG_HELPERS})
    endif()
    if(threaded)
        add_dependencies(threads ${name})
    endif()
    # Helpers lie at the top of a test folder, tests in the same folders as what they test.
    target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} test_support)
    house_options(${name})
    # A test file is compiled more often than its code matters: optimising it would take most of the build's time.
    target_compile_options(${name} PRIVATE -O0)
    # Precompiling takes as long as a few test files do.
    set(compiled ${ARG_SOURCES} ${ARG_HELPERS})
    list(LENGTH compiled compiled)
    if(compiled GREATER_EQUAL 8)
        house_precompile(${name} <doctest/doctest.h>)
    endif()
    if(TAVOLA_TESTS_TOGETHER)
        house_join_folders(${name})
    endif()
    if(NOT ARG_LABELS)
        set(ARG_LABELS unit)
    endif()
    set(runner)
    set(platform offscreen)
    if(ARG_OPENGL)
        find_program(TAVOLA_XVFB_RUN xvfb-run REQUIRED DOC "Runs a program with an X11 screen in memory")
        set(runner ${TAVOLA_XVFB_RUN} --auto-servernum)
        set(platform xcb)
        # Qt's plug-in for X11 measures texts of the server that do not end in a NUL. Mesa's driver keeps some memory and is
        # unloaded before leaks are searched for, so that it could not be named in leaks.txt.
        list(APPEND ARG_ENVIRONMENT LIBGL_ALWAYS_SOFTWARE=1 ASAN_OPTIONS=strict_string_checks=0:detect_leaks=0)
    endif()
    foreach(source IN LISTS ARG_SOURCES)
        get_filename_component(stem ${source} NAME_WE)
        set(labels ${ARG_LABELS})
        if(source IN_LIST threaded)
            list(APPEND labels threads)
        endif()
        add_test(NAME ${name}.${stem} COMMAND ${runner} $<TARGET_FILE:${name}> --source-file=*/${stem}.cpp)
        set_tests_properties(${name}.${stem} PROPERTIES
            LABELS "${labels}" TIMEOUT 120
            ENVIRONMENT "QT_QPA_PLATFORM=${platform};QT_HASH_SEED=0;${ARG_ENVIRONMENT}")
        if(ARG_OPENGL) # Two screens that start at once may choose the same number.
            set_tests_properties(${name}.${stem} PROPERTIES RESOURCE_LOCK screen)
        endif()
    endforeach()
endfunction()

# house_as_folly_wants(target): compiles a test program in the way that folly's headers ask for, which is C++20 with glog, whose
# CHECK is not doctest's. So that the tests are known to build where folly is found.
function(house_as_folly_wants target)
    find_path(TAVOLA_GLOG_INCLUDE glog/logging.h REQUIRED DOC "Where the headers of glog lie")
    set_target_properties(${target} PROPERTIES CXX_STANDARD 20)
    target_include_directories(${target} BEFORE PRIVATE ${CMAKE_SOURCE_DIR}/tests/support/glog)
    target_include_directories(${target} SYSTEM PRIVATE ${TAVOLA_GLOG_INCLUDE})
endfunction()
