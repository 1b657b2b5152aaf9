# script/package makes two packages of the same files: a zip, from which users copy the effect, and an installer.
set(texts ${CMAKE_BINARY_DIR}/texts)
set(manual ${CMAKE_SOURCE_DIR}/build/manual/manual.html)  # script/manual writes it
configure_file(packaging/README.txt ${texts}/README.txt @ONLY NEWLINE_STYLE DOS)
configure_file(LICENSE ${texts}/LICENSE.txt @ONLY NEWLINE_STYLE DOS)
install(FILES $<TARGET_FILE:nuv_chromaber> ${texts}/README.txt ${texts}/LICENSE.txt ${manual} DESTINATION .)
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)  # packing does not need the tests

set(CPACK_GENERATOR ZIP NSIS)
set(CPACK_PACKAGE_NAME nuv_chromaber)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/package_names.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/package_times.cmake)
set(CPACK_NUV_SIGN ${CMAKE_SOURCE_DIR}/script/sign)
list(PREPEND CMAKE_MODULE_PATH ${CMAKE_SOURCE_DIR}/packaging)  # NSIS.template.in
include(CPack)
