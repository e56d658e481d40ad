# Profile feedback for the parsing core (GCC release builds on Linux).
#
# The core is compiled twice. A copy instrumented with -fprofile-generate is
# linked into domparse_training (tools/train), which parses each document of a
# training folder in a run of its own; the counts land under the names of the
# core's own objects (see there). They are then put beside the objects of
# domparse_core, which is compiled with -fprofile-use: the compiler learns
# which branches real pages take, and lays out and inlines the hot paths
# accordingly. The parse does exactly the same; only the machine code differs.
#
# The training folder defaults to the corpus beside the project. Without
# training documents, or with another compiler, a sanitizer, a cross build or
# another build type, the core is built as it is, without feedback.

option(DOMPARSE_PROFILE_FEEDBACK "Compile the core with profile feedback from a training run" ON)
set(DOMPARSE_TRAINING_DOCUMENTS "${PROJECT_SOURCE_DIR}/../shared/corpus" CACHE PATH
  "Folder of the documents (*.html, *.htm) the training run parses")

set(DOMPARSE_PROFILE_FEEDBACK_ACTIVE OFF)
if(DOMPARSE_PROFILE_FEEDBACK AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT WIN32
   AND NOT CMAKE_CROSSCOMPILING AND NOT DOMPARSE_SANITIZER_LIST
   AND CMAKE_BUILD_TYPE STREQUAL "Release")
  file(GLOB DOMPARSE_TRAINING_FILES
    ${DOMPARSE_TRAINING_DOCUMENTS}/*.html ${DOMPARSE_TRAINING_DOCUMENTS}/*.htm)
  list(SORT DOMPARSE_TRAINING_FILES)
  if(DOMPARSE_TRAINING_FILES)
    set(DOMPARSE_PROFILE_FEEDBACK_ACTIVE ON)
  else()
    message(STATUS "No training documents in ${DOMPARSE_TRAINING_DOCUMENTS}: "
      "the core is built without profile feedback")
  endif()
endif()

if(DOMPARSE_PROFILE_FEEDBACK_ACTIVE)
  message(STATUS "Profile feedback: ${CMAKE_CXX_COMPILER_ID} core trained on "
    "${DOMPARSE_TRAINING_DOCUMENTS}")
  set(DOMPARSE_PROFILE_STAMP ${PROJECT_BINARY_DIR}/profile-feedback.stamp)
  add_subdirectory(${PROJECT_SOURCE_DIR}/tools/train)

  # The core is compiled after the training run. A change of a source file
  # builds the training program again, which runs the training again, and
  # the changed file is then compiled with the new counts; files that did not
  # change keep their objects, made with counts that still describe them.
  add_dependencies(domparse_core domparse_profile_counts)
  # Functions no training document reaches keep the ordinary optimisation.
  target_compile_options(domparse_core PRIVATE
    -fprofile-use -fprofile-partial-training -Wno-missing-profile)
endif()
