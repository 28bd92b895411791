# The installed tree: headers under include/torvelsi and include/tvservice, both libraries, the
# tool, CMake package configs and pkg-config files. The build tree offers its headers under the same
# names, so that a client's source is the same on both sides.
include(CMakePackageConfigHelpers)

set(tree ${PROJECT_BINARY_DIR}/include)
file(MAKE_DIRECTORY ${tree}/tvservice)
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/SI/Include ${tree}/torvelsi SYMBOLIC)
file(GLOB torvelsi_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/SI/Include/*.h)
file(GLOB tvservice_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/platform/*.h
    ${PROJECT_SOURCE_DIR}/softplatform/service/Counter.h
    ${PROJECT_SOURCE_DIR}/softplatform/service/SoftwarePlatform.h)
foreach(header IN LISTS tvservice_headers)
    get_filename_component(name ${header} NAME)
    file(CREATE_LINK ${header} ${tree}/tvservice/${name} SYMBOLIC)
endforeach()

# The pkg-config files use paths relative to themselves, so that the installed tree can be moved.
file(RELATIVE_PATH prefix_from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)

install(FILES ${torvelsi_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/torvelsi)
install(FILES ${tvservice_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tvservice)
foreach(library torvelsi tvservice)
    target_include_directories(${library} INTERFACE
        $<BUILD_INTERFACE:${tree}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${library})
    install(TARGETS ${library} EXPORT ${library}Targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    install(EXPORT ${library}Targets NAMESPACE ${library}:: DESTINATION ${package_dir})
    configure_package_config_file(${PROJECT_SOURCE_DIR}/packaging/${library}Config.cmake.in
        ${PROJECT_BINARY_DIR}/${library}Config.cmake INSTALL_DESTINATION ${package_dir})
    write_basic_package_version_file(${PROJECT_BINARY_DIR}/${library}ConfigVersion.cmake
        COMPATIBILITY SameMinorVersion)
    install(FILES ${PROJECT_BINARY_DIR}/${library}Config.cmake
        ${PROJECT_BINARY_DIR}/${library}ConfigVersion.cmake DESTINATION ${package_dir})
    configure_file(${PROJECT_SOURCE_DIR}/packaging/${library}.pc.in
        ${PROJECT_BINARY_DIR}/${library}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${library}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
set(doc_dir ${CMAKE_INSTALL_DATADIR}/doc/torvelsi)
foreach(page LICENSE README.md CHANGELOG.md)
    install(FILES ${PROJECT_SOURCE_DIR}/${page} DESTINATION ${doc_dir})
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/platform/README.md DESTINATION ${doc_dir}/platform)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION ${doc_dir}
    PATTERN *.schema.json EXCLUDE)
file(GLOB schemas CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.schema.json)
install(FILES ${schemas} DESTINATION ${CMAKE_INSTALL_DATADIR}/torvelsi)
if(TORVELSI_BUILD_TOOL)
    install(TARGETS torvelsi-tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
