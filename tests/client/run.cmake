# Configures, builds and runs the client project against the installed library. WAY says how it is
# found: by its CMake package or by pkg-config.

file(REMOVE_RECURSE ${BUILD})
set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig)
execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${CMAKE_COMMAND} -G Ninja -S ${SOURCE} -B ${BUILD}
  -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_PREFIX_PATH=${PREFIX} -DWAY=${WAY} -DVERSION=${VERSION})
execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${CMAKE_COMMAND} --build ${BUILD})
set(ENV{LD_LIBRARY_PATH} ${PREFIX}/${LIBDIR})
execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${BUILD}/client ${VERSION})
