# Finds nlohmann-json, by which tests read what programs print as JSON: the target `nlohmann_json::nlohmann_json`. Where it is
# not there, NLOHMANN_JSON_MISSING says so, and those tests are not built.

find_package(nlohmann_json QUIET)
if(NOT TARGET nlohmann_json::nlohmann_json)
  set(NLOHMANN_JSON_MISSING "nlohmann-json (nlohmann-json3-dev) is not there")
endif()
