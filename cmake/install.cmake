# What a host integrator gets: the operator library, the host that it was built for, the samplers,
# and their headers; targets Stratum::ops, Stratum::host and Stratum::volume for
# find_package(Stratum), and Stratum::samplers for a program with a host of its own. pkg-config knows
# stratum, stratum-host and stratum-samplers. Nothing installed names the folder that it is in.
include(CMakePackageConfigHelpers)

set(headers ${CMAKE_INSTALL_INCLUDEDIR}/stratum)
foreach(folder common volume locations ops)
  install(DIRECTORY ${folder} DESTINATION ${headers} FILES_MATCHING PATTERN "*.h" PATTERN "*.def")
endforeach()
install(DIRECTORY ${STRATUM_HOST}/ DESTINATION ${headers}/host
        FILES_MATCHING PATTERN "*.h" PATTERN conformance EXCLUDE)
target_include_directories(stratum_common INTERFACE $<INSTALL_INTERFACE:${headers}>)
get_target_property(host_type stratum_host TYPE)
set(host_scope PUBLIC)
if(host_type STREQUAL INTERFACE_LIBRARY) # around a host that is not built here
  set(host_scope INTERFACE)
endif()
target_include_directories(stratum_host ${host_scope} $<INSTALL_INTERFACE:${headers}/host>)

set_target_properties(stratum_common PROPERTIES EXPORT_NAME common)
set_target_properties(stratum_host PROPERTIES EXPORT_NAME host)
set_target_properties(stratum_samplers PROPERTIES EXPORT_NAME samplers)
set_target_properties(stratum_volume PROPERTIES EXPORT_NAME volume)
set_target_properties(stratum_ops PROPERTIES EXPORT_NAME ops INSTALL_RPATH $ORIGIN)
install(TARGETS stratum_common stratum_host stratum_samplers stratum_volume stratum_ops
        EXPORT StratumTargets)
install(EXPORT StratumTargets NAMESPACE Stratum:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Stratum)
if(TARGET stratum_tool)
  set_target_properties(stratum_tool PROPERTIES INSTALL_RPATH $ORIGIN/../${CMAKE_INSTALL_LIBDIR})
  install(TARGETS stratum_tool)
endif()

configure_package_config_file(cmake/StratumConfig.cmake.in
  ${PROJECT_BINARY_DIR}/StratumConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Stratum)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/StratumConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/StratumConfig.cmake
              ${PROJECT_BINARY_DIR}/StratumConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Stratum)

file(RELATIVE_PATH to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
foreach(name stratum stratum-host stratum-samplers)
  configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
