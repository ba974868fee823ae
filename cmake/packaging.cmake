# Installation and Debian packages.
#
#   cmake --install build [--prefix /usr] (DESTDIR honoured)
#   cpack --config build/CPackConfig.cmake   (from the build directory's parent)
#
# Two packages: integrity-checker (integrity_checker, integrity_check_tool)
# for the machines that are checked, and integrity-sign (integrity_sign,
# integrity_tester) for the build hosts that sign manifests and test them.
# Operators never need the signing tool, and the tester, which can skip the
# signature, stays off production machines.

include(GNUInstallDirs)

option(ICT_ALLOW_DEMO_ROOTS "Allow packages whose programs trust the demo hierarchy's roots and keys" OFF)

# The demo roots and keys are public along with their private keys: a
# package that trusts them accepts manifests anyone can sign. Compare by
# content, so a copy of a demo file under another name is caught too.
set(ict_demo_hashes "")
file(GLOB_RECURSE ict_demo_files "${PROJECT_SOURCE_DIR}/pki/demo/*")
foreach(file IN LISTS ict_demo_files)
    file(SHA256 "${file}" hash)
    list(APPEND ict_demo_hashes "${hash}")
endforeach()
set(ICT_DEMO_TRUST "")
foreach(file IN LISTS ICT_REGULAR_ROOTS ICT_ALTERNATIVE_ROOTS ICT_TSA_ROOTS ICT_GOST_REGULAR_KEYS ICT_GOST_ALTERNATIVE_KEYS)
    if(NOT IS_ABSOLUTE "${file}")
        set(file "${PROJECT_SOURCE_DIR}/${file}")
    endif()
    file(SHA256 "${file}" hash)
    if(hash IN_LIST ict_demo_hashes)
        list(APPEND ICT_DEMO_TRUST "${file}")
    endif()
endforeach()
if(ICT_DEMO_TRUST AND NOT ICT_ALLOW_DEMO_ROOTS)
    message(STATUS "Trust material from the demo hierarchy is compiled in; packaging is refused "
                   "(name production roots and keys, or configure with -DICT_ALLOW_DEMO_ROOTS=ON)")
endif()

# Man pages, with the version filled in and compressed as Debian installs them.
set(ICT_MAN_VERSION "${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}.${PROJECT_VERSION_PATCH}")
set(ict_man_pages "")
foreach(program integrity_checker integrity_check_tool integrity_tester integrity_sign)
    set(page "${PROJECT_BINARY_DIR}/man/${program}.1")
    set(packed "${page}.gz")
    configure_file("${PROJECT_SOURCE_DIR}/man/${program}.1" "${page}" @ONLY)
    add_custom_command(OUTPUT "${packed}"
        COMMAND gzip -9nc "${page}" > "${packed}"
        DEPENDS "${page}" VERBATIM)
    list(APPEND ict_man_pages "${packed}")
endforeach()
add_custom_target(ict_man_pages ALL DEPENDS ${ict_man_pages})

set(ict_man_dir "${CMAKE_INSTALL_MANDIR}/man1")
install(TARGETS integrity_checker integrity_check_tool RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
        COMPONENT checker)
install(FILES "${PROJECT_BINARY_DIR}/man/integrity_checker.1.gz" "${PROJECT_BINARY_DIR}/man/integrity_check_tool.1.gz"
        DESTINATION "${ict_man_dir}" COMPONENT checker)
# Every page of docs/ but the one for developers of the programs.
file(GLOB ict_user_docs CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/docs/*.md")
list(REMOVE_ITEM ict_user_docs "${PROJECT_SOURCE_DIR}/docs/architecture.md")
install(FILES README.md ${ict_user_docs} DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/integrity-checker"
        COMPONENT checker)
# The scheduled check: a hardened oneshot service and its timer, which
# stays disabled until the operator names the manifests and enables it.
install(FILES packaging/systemd/integrity-check.service packaging/systemd/integrity-check.timer
        DESTINATION lib/systemd/system COMPONENT checker)
install(PROGRAMS packaging/systemd/integrity-check-run DESTINATION lib/integrity-check
        COMPONENT checker)
install(FILES packaging/systemd/integrity-check.default DESTINATION /etc/default RENAME integrity-check
        COMPONENT checker)
# dpkg keeps the operator's settings over an upgrade.
file(WRITE "${PROJECT_BINARY_DIR}/checker-control/conffiles" "/etc/default/integrity-check\n")
set(CPACK_DEBIAN_CHECKER_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/checker-control/conffiles")
install(TARGETS integrity_sign integrity_tester RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT sign)
install(FILES "${PROJECT_BINARY_DIR}/man/integrity_sign.1.gz" "${PROJECT_BINARY_DIR}/man/integrity_tester.1.gz"
        DESTINATION "${ict_man_dir}" COMPONENT sign)
install(FILES README.md ${ict_user_docs}
        DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/integrity-sign" COMPONENT sign)

# The package version is the programs' own without the build suffix.
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")

set(ICT_PACKAGE_MAINTAINER "Integrity checker maintainers <integrity-check@localhost>" CACHE STRING
    "Maintainer field of the Debian packages")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME integrity-check-tool)
set(CPACK_PACKAGE_VENDOR "Integrity checker maintainers")
set(CPACK_PACKAGE_CONTACT "${ICT_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL checker sign)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_CHECKER_PACKAGE_NAME integrity-checker)
set(CPACK_DEBIAN_SIGN_PACKAGE_NAME integrity-sign)
# Keys in a token are reached through OpenSSL's pkcs11 engine.
set(CPACK_DEBIAN_SIGN_PACKAGE_RECOMMENDS libengine-pkcs11-openssl)
set(CPACK_COMPONENT_CHECKER_DESCRIPTION
    "verifies an installed product against signed XML manifests
integrity_checker verifies an installation against signed manifests
(files, directories, SHA-256 or GOST R 34.11-2012 hashes, raw values) and
exits 0 or 1; integrity_check_tool also generates and normalizes manifests
and prints single files' hashes.")
set(CPACK_COMPONENT_SIGN_DESCRIPTION
    "signs integrity manifests and makes revocation data
integrity_sign signs manifests (CMS or GOST R 34.10-2012), makes CRLs and the
revocation container; integrity_tester checks manifests against the
alternative trust roots. For build hosts, not for the machines checked.")
if(CMAKE_CROSSCOMPILING AND CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
endif()

configure_file("${PROJECT_SOURCE_DIR}/cmake/refuse-demo-trust.cmake.in"
               "${PROJECT_BINARY_DIR}/refuse-demo-trust.cmake" @ONLY)
# Read by cpack before anything is installed or packed.
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_BINARY_DIR}/refuse-demo-trust.cmake")

include(CPack)
