# Endpoints are build-time constants. The default build talks to the local stand-in; a release
# build must name https endpoints (plain http is accepted only for loopback hosts).
set(MIREO_SITE_URL "http://127.0.0.1:8787" CACHE STRING "Web origin of the service")
set(MIREO_SUPABASE_URL "http://127.0.0.1:8787" CACHE STRING "Origin of the sign-in backend")
option(MIREO_REQUIRE_HTTPS "Refuse any endpoint that is not https" OFF)
option(MIREO_ALLOW_ENDPOINT_OVERRIDE
       "Let the MIREO_SITE_URL and MIREO_SUPABASE_URL environment variables override the built-in endpoints (development and tests)"
       ON)

include(${CMAKE_CURRENT_LIST_DIR}/EndpointRules.cmake)

mireo_check_endpoint(MIREO_SITE_URL "${MIREO_SITE_URL}")
mireo_check_endpoint(MIREO_SUPABASE_URL "${MIREO_SUPABASE_URL}")
