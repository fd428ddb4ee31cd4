# cmake -DURL=... [-DMIREO_REQUIRE_HTTPS=ON] -P check_endpoint.cmake: fails where configure would.
include(${CMAKE_CURRENT_LIST_DIR}/../../cmake/EndpointRules.cmake)
mireo_check_endpoint(URL "${URL}")
