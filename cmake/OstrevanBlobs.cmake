# ostrevan_blob(TARGET NAME FILE)
#
# Packs FILE into the header NAME_blob.inc, which defines the array NAME_blob_src, and puts it on the include path of
# TARGET. The sources of TARGET are built again when FILE changes.
function(ostrevan_blob TARGET NAME FILE)
    set(folder ${CMAKE_BINARY_DIR}/blobs)
    file(MAKE_DIRECTORY ${folder})
    cmake_path(ABSOLUTE_PATH FILE BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
    add_custom_command(OUTPUT ${folder}/${NAME}_blob.inc
                       COMMAND blob_pack ${NAME} ${FILE} ${folder}/${NAME}_blob.inc
                       DEPENDS blob_pack ${FILE} VERBATIM)
    target_sources(${TARGET} PRIVATE ${folder}/${NAME}_blob.inc)
    target_include_directories(${TARGET} PRIVATE ${folder})
endfunction()
