# Run by ctest in script mode; see CMakeLists.txt beside it.
file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed (${status}): ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${prefix}")

foreach(expected include/msgfilter/msgfilter.h include/msgfilter/host/host.h
                 share/msgfilter/enginemsg.xml bin/msgfilter lib/pkgconfig/msgfilter.pc
                 lib/cmake/msgfilter/msgfilterConfig.cmake
                 lib/cmake/msgfilter/msgfilterConfigVersion.cmake)
  if(NOT EXISTS "${prefix}/${expected}")
    message(FATAL_ERROR "not installed: ${expected}")
  endif()
endforeach()

# Through the CMake package.
run(${CMAKE_COMMAND} -S "${CONSUMER_SOURCE}" -B "${WORK_DIR}/consumer" -G "${GENERATOR}"
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
    "-DCMAKE_CXX_FLAGS=${CONSUMER_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${CONSUMER_FLAGS}")
run(${CMAKE_COMMAND} --build "${WORK_DIR}/consumer")
# Installed into the package's own prefix, outside the loader's default directories,
# and started with nothing but the run paths the binaries carry.
run(${CMAKE_COMMAND} --install "${WORK_DIR}/consumer" --prefix "${prefix}")
unset(ENV{LD_LIBRARY_PATH})
run("${prefix}/bin/consumer")
message(STATUS "find_package consumer: ${last_output}")

# Through pkg-config.
set(ENV{PKG_CONFIG_PATH} "${prefix}/lib/pkgconfig")
run(pkg-config --cflags --libs msgfilter)
string(STRIP "${last_output}" pc_flags)
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
separate_arguments(extra UNIX_COMMAND "${CONSUMER_FLAGS}")
run(${CXX_COMPILER} -std=c++17 -fPIC -DMSGFILTER_CONSUMER_USES_HOST ${extra}
    "${CONSUMER_SOURCE}/main.cpp" ${pc_flags}
    "-Wl,-rpath,${prefix}/lib" -o "${WORK_DIR}/consumer-pc")
run("${WORK_DIR}/consumer-pc" "${prefix}/share/msgfilter")
message(STATUS "pkg-config consumer: ${last_output}")
