# Where installed files find each other. An install folder (CMAKE_INSTALL_BINDIR, ...) is relative to the
# prefix, or absolute. Between relative folders the paths are relative too, so that an installed tree can
# be moved; an absolute folder stays where it is, and paths that involve it are absolute.

# qbt2_run_path(OUTPUT PREFIX BINDIR LIBDIR): where programs in BINDIR look for libraries in LIBDIR.
function(qbt2_run_path output prefix bindir libdir)
  if(IS_ABSOLUTE "${bindir}" OR IS_ABSOLUTE "${libdir}")
    cmake_path(ABSOLUTE_PATH libdir BASE_DIRECTORY "${prefix}" NORMALIZE)
    set(path "${libdir}")
  else()
    file(RELATIVE_PATH from_bindir "/${bindir}" "/${libdir}")
    set(path "\$ORIGIN/${from_bindir}")
  endif()
  string(REGEX REPLACE "/+$" "" path "${path}")
  set(${output} "${path}" PARENT_SCOPE)
endfunction()

# qbt2_pkgconfig_folders(PREFIX LIBDIR INCLUDEDIR): sets QBT2_PC_PREFIX, QBT2_PC_LIBDIR and
# QBT2_PC_INCLUDEDIR to what the .pc files in LIBDIR/pkgconfig name as these three.
function(qbt2_pkgconfig_folders prefix libdir includedir)
  if(NOT IS_ABSOLUTE "${libdir}")
    file(RELATIVE_PATH up "/${libdir}/pkgconfig" "/")
    string(REGEX REPLACE "/+$" "" up "${up}")
    set(prefix "\${pcfiledir}/${up}")
  endif()
  set(QBT2_PC_PREFIX "${prefix}" PARENT_SCOPE)
  foreach(folder IN ITEMS libdir includedir)
    if(NOT IS_ABSOLUTE "${${folder}}")
      set(${folder} "\${prefix}/${${folder}}")
    endif()
  endforeach()
  set(QBT2_PC_LIBDIR "${libdir}" PARENT_SCOPE)
  set(QBT2_PC_INCLUDEDIR "${includedir}" PARENT_SCOPE)
endfunction()
