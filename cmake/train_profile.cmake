# The training run of the profile-feedback build (cmake/profile_feedback.cmake),
# run as a script: cmake -D TRAINER=... -D DOCUMENTS=... -D COUNTS_DIR=...
# -D FEEDBACK_DIR=... -D STAMP=... -P train_profile.cmake
#
# The counts of an earlier run are removed first, since each run adds to them.
# Every document is parsed in a run of its own; a run that fails is reported
# and costs only its own counts. The counts are then copied beside the objects
# of the core that is compiled with them, under the same relative names (the
# training objects are named after the core's: tools/train/CMakeLists.txt).

file(GLOB_RECURSE old_counts ${COUNTS_DIR}/*.gcda)
if(old_counts)
  file(REMOVE ${old_counts})
endif()

set(trained 0)
foreach(document IN LISTS DOCUMENTS)
  # A parse that does not come back (some inputs never end) is stopped and
  # counts as failed.
  execute_process(COMMAND ${TRAINER} ${document} RESULT_VARIABLE result
    OUTPUT_QUIET ERROR_QUIET TIMEOUT 120)
  if(result EQUAL 0)
    math(EXPR trained "${trained} + 1")
  else()
    get_filename_component(name ${document} NAME)
    message(STATUS "Training: ${name} did not parse (${result}); its counts are left out")
  endif()
endforeach()
list(LENGTH DOCUMENTS total)
message(STATUS "Training: ${trained} of ${total} documents parsed")

file(GLOB_RECURSE old_feedback ${FEEDBACK_DIR}/*.gcda)
if(old_feedback)
  file(REMOVE ${old_feedback})
endif()
file(GLOB_RECURSE counts RELATIVE ${COUNTS_DIR} ${COUNTS_DIR}/*.gcda)
foreach(count IN LISTS counts)
  get_filename_component(folder ${FEEDBACK_DIR}/${count} DIRECTORY)
  file(MAKE_DIRECTORY ${folder})
  file(COPY_FILE ${COUNTS_DIR}/${count} ${FEEDBACK_DIR}/${count})
endforeach()
file(TOUCH ${STAMP})
