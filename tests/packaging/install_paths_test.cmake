# cmake -P: the paths between install folders, in the layouts that packagers use.
include("${CMAKE_CURRENT_LIST_DIR}/../../cmake/InstallPaths.cmake")

function(expect what actual expected)
  if(NOT actual STREQUAL expected)
    message(SEND_ERROR "${what}: ${actual} instead of ${expected}")
  endif()
endfunction()

# expect_layout(PREFIX BINDIR LIBDIR INCLUDEDIR RUN_PATH PC_PREFIX PC_LIBDIR PC_INCLUDEDIR)
function(expect_layout prefix bindir libdir includedir run_path pc_prefix pc_libdir pc_includedir)
  qbt2_run_path(actual "${prefix}" "${bindir}" "${libdir}")
  qbt2_pkgconfig_folders("${prefix}" "${libdir}" "${includedir}")
  set(layout "prefix ${prefix}, ${bindir}, ${libdir}, ${includedir}")
  expect("${layout}: run path" "${actual}" "${run_path}")
  expect("${layout}: pkg-config prefix" "${QBT2_PC_PREFIX}" "${pc_prefix}")
  expect("${layout}: pkg-config libdir" "${QBT2_PC_LIBDIR}" "${pc_libdir}")
  expect("${layout}: pkg-config includedir" "${QBT2_PC_INCLUDEDIR}" "${pc_includedir}")
endfunction()

expect_layout(/usr bin lib include
  "\$ORIGIN/../lib" "\${pcfiledir}/../.." "\${prefix}/lib" "\${prefix}/include")
expect_layout(/usr bin lib/x86_64-linux-gnu include
  "\$ORIGIN/../lib/x86_64-linux-gnu" "\${pcfiledir}/../../.." "\${prefix}/lib/x86_64-linux-gnu" "\${prefix}/include")
expect_layout(/opt/t libexec/qbt2/bin lib/deep/er/qbt2/ include/vendor
  "\$ORIGIN/../../../lib/deep/er/qbt2" "\${pcfiledir}/../../../../.."
  "\${prefix}/lib/deep/er/qbt2/" "\${prefix}/include/vendor")
expect_layout(/usr bin /opt/x/lib include
  "/opt/x/lib" "/usr" "/opt/x/lib" "\${prefix}/include")
expect_layout(/usr /opt/x/bin lib /opt/x/include
  "/usr/lib" "\${pcfiledir}/../.." "\${prefix}/lib" "/opt/x/include")
