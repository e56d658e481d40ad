# The tests of `folder` among `entries` ("folder:Suite.Test" each), joined
# with ":" for a negative GoogleTest filter, in `out`; empty when none is.
function(domparse_excluded_tests folder entries out)
  set(names "")
  foreach(entry ${entries})
    if(entry MATCHES "^${folder}:(.+)$")
      if(names)
        string(APPEND names ":")
      endif()
      string(APPEND names ${CMAKE_MATCH_1})
    endif()
  endforeach()
  set(${out} "${names}" PARENT_SCOPE)
endfunction()
