# CPack runs this file when it has copied the files of a package to a temporary folder, and before it packs them. All
# files get the time of the commit, so that the same commit gives the same package.
file(GLOB_RECURSE staged LIST_DIRECTORIES true ${CPACK_TEMPORARY_DIRECTORY}/*)
execute_process(COMMAND touch --date=@$ENV{SOURCE_DATE_EPOCH} ${CPACK_TEMPORARY_DIRECTORY} ${staged}
  COMMAND_ERROR_IS_FATAL ANY)
