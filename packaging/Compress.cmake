# Compresses, in the folder that cpack packs, what Debian wants compressed.
foreach(file share/man/man1/wail.1 share/doc/wail/changelog)
  execute_process(COMMAND gzip -9n ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/${file} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
