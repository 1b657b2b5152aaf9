# Read by CPack when the files lie ready: all get the time of the commit, so that packages do not tell when they were
# made.
file(GLOB_RECURSE staged LIST_DIRECTORIES true ${CPACK_TEMPORARY_DIRECTORY}/*)
execute_process(COMMAND touch --date=@$ENV{SOURCE_DATE_EPOCH} ${CPACK_TEMPORARY_DIRECTORY} ${staged}
  COMMAND_ERROR_IS_FATAL ANY)
