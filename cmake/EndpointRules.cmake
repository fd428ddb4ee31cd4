# The rule every endpoint must pass; scriptable, so tests can run it with cmake -P.
# A value must be scheme://host[:port] with no path; plain http only for a loopback host, and
# not at all when MIREO_REQUIRE_HTTPS is on.
function(mireo_check_endpoint name url)
  if(NOT url MATCHES "^(https?)://([^/:?#]+|\\[[0-9a-fA-F:]+\\])(:[0-9]+)?$")
    message(FATAL_ERROR "${name}='${url}' must be scheme://host[:port] with no path")
  endif()
  set(scheme "${CMAKE_MATCH_1}")
  set(host "${CMAKE_MATCH_2}")
  if(scheme STREQUAL "http")
    if(MIREO_REQUIRE_HTTPS)
      message(FATAL_ERROR "${name}='${url}': this build requires https")
    endif()
    if(NOT host MATCHES "^(127\\.[0-9]+\\.[0-9]+\\.[0-9]+|localhost|\\[::1\\])$")
      message(FATAL_ERROR "${name}='${url}': plain http is only allowed for a loopback host")
    endif()
  endif()
endfunction()
