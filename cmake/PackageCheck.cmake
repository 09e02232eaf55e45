# Builds the library the way a distribution would ship it (shared, hidden symbols, no tools),
# installs it into a staging prefix, and builds examples/minimal-host against that prefix,
# once through the CMake package and once through quillgate.pc. Run with cmake -P:
#   -DSOURCE=<source tree> -DWORK=<scratch directory> -DCXX=<compiler> [-DLAUNCHER=ccache]
# A later run reuses WORK and rebuilds only what changed.
cmake_minimum_required(VERSION 3.25)

function(run what)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${what} failed (${status}):\n${out}")
    endif()
endfunction()

set(staging ${WORK}/staging)
set(launcher)
if(LAUNCHER)
    set(launcher -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER})
endif()

run("configuring the library" ${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/library -G Ninja
    -DCMAKE_CXX_COMPILER=${CXX} ${launcher} -DCMAKE_BUILD_TYPE=
    -DBUILD_SHARED_LIBS=ON -DQUILLGATE_WERROR=ON
    -DQUILLGATE_BUILD_TOOLS=OFF -DQUILLGATE_BUILD_TESTS=OFF -DQUILLGATE_BUILD_BENCH=OFF
    -DQUILLGATE_DESKTOP=OFF)
run("building the library" ${CMAKE_COMMAND} --build ${WORK}/library --parallel 2)
file(REMOVE_RECURSE ${staging})
run("installing the library" ${CMAKE_COMMAND} --install ${WORK}/library --prefix ${staging})

# Only what the public headers declare for applications is exported.
file(GLOB_RECURSE shared_objects ${staging}/*/libquillgate.so.*.*.*)
list(GET shared_objects 0 shared_object)
run("reading the exported symbols" nm -DC --defined-only ${shared_object})
execute_process(COMMAND nm -DC --defined-only ${shared_object} OUTPUT_VARIABLE symbols)
foreach(internal CurlHttpSession FontconfigFontSystem NetlinkReachability curl_ FT_ Fc)
    if(symbols MATCHES "[ :]${internal}")
        message(FATAL_ERROR "${shared_object} exports ${internal}...: internals must stay hidden")
    endif()
endforeach()
if(NOT symbols MATCHES "quillgate::QuillgateClient::shared\\(\\)")
    message(FATAL_ERROR "${shared_object} does not export QuillgateClient::shared()")
endif()

# The application, through find_package(quillgate CONFIG).
run("configuring minimal-host" ${CMAKE_COMMAND} -S ${SOURCE}/examples/minimal-host
    -B ${WORK}/minimal-host -G Ninja -DCMAKE_CXX_COMPILER=${CXX} ${launcher}
    -DCMAKE_PREFIX_PATH=${staging})
run("building minimal-host" ${CMAKE_COMMAND} --build ${WORK}/minimal-host)

# The same application through pkg-config (compiled and linked, not run).
set(ENV{PKG_CONFIG_PATH} "")
file(GLOB_RECURSE pc_files ${staging}/*/quillgate.pc)
list(GET pc_files 0 pc_file)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
run("validating quillgate.pc" pkg-config --validate quillgate)
execute_process(COMMAND pkg-config --cflags --libs quillgate OUTPUT_VARIABLE flags
    OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE status)
separate_arguments(flags UNIX_COMMAND "${flags}")
run("building minimal-host with pkg-config" ${CXX} -std=c++20
    ${SOURCE}/examples/minimal-host/main.cpp ${flags} -o ${WORK}/minimal-host-pkgconfig)
