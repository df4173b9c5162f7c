# Installs the built library into a fresh prefix, then builds and runs a
# consumer once through find_package and once through pkg-config.
string(REPLACE ";" " " EXTRA_FLAGS_STRING "${EXTRA_FLAGS}")
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "command failed (${result}): ${ARGN}\n${out}\n${err}")
  endif()
  message(STATUS "${out}")
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# Through the CMake package.
run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/cmake-consumer
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX}
    "-DCMAKE_CXX_FLAGS=${EXTRA_FLAGS_STRING}" "-DCMAKE_EXE_LINKER_FLAGS=${EXTRA_FLAGS_STRING}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-consumer)
run(${WORK_DIR}/cmake-consumer/consumer)

# Through pkg-config.
file(GLOB_RECURSE pc_file ${prefix}/*/imagelib.pc)
if(NOT pc_file)
  message(FATAL_ERROR "imagelib.pc was not installed")
endif()
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
execute_process(COMMAND pkg-config --cflags imagelib OUTPUT_VARIABLE cflags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE r1)
execute_process(COMMAND pkg-config --libs imagelib OUTPUT_VARIABLE libs OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE r2)
if(NOT r1 EQUAL 0 OR NOT r2 EQUAL 0)
  message(FATAL_ERROR "pkg-config does not know imagelib")
endif()
separate_arguments(cflags UNIX_COMMAND "${cflags}")
separate_arguments(libs UNIX_COMMAND "${libs}")
separate_arguments(extra UNIX_COMMAND "${EXTRA_FLAGS_STRING}")
run(${CXX} ${extra} ${cflags} ${CONSUMER_DIR}/main.cpp -o ${WORK_DIR}/pkgconfig-consumer ${libs})
string(REPLACE "-L" "" libdir "${libs}")
list(GET libdir 0 libdir)
set(ENV{LD_LIBRARY_PATH} ${libdir})
run(${WORK_DIR}/pkgconfig-consumer)
