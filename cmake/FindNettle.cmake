# Finds the crypto library nettle (MD5, Blowfish, CBC) and makes the target Nettle::Nettle.
find_path(Nettle_INCLUDE_DIR nettle/blowfish.h)
find_library(Nettle_LIBRARY nettle)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Nettle REQUIRED_VARS Nettle_LIBRARY Nettle_INCLUDE_DIR)
mark_as_advanced(Nettle_INCLUDE_DIR Nettle_LIBRARY)

if(Nettle_FOUND AND NOT TARGET Nettle::Nettle)
  add_library(Nettle::Nettle UNKNOWN IMPORTED)
  set_target_properties(Nettle::Nettle PROPERTIES IMPORTED_LOCATION ${Nettle_LIBRARY}
                                                  INTERFACE_INCLUDE_DIRECTORIES ${Nettle_INCLUDE_DIR})
endif()
