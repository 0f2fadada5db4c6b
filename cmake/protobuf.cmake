# Protocol Buffers: the library for the target, the compiler of the host.
#
# When cross-compiling there is no protobuf::protoc target, hence find_program.

if(CMAKE_CROSSCOMPILING)
  find_package(Protobuf CONFIG REQUIRED)
else()
  find_package(Protobuf REQUIRED)
endif()
find_program(TELVAR_PROTOC protoc REQUIRED)

# telvar_generate_messages(<out_sources> <proto>...): C++ for the schemas of this folder.
function(telvar_generate_messages out_sources)
  set(sources)
  foreach(proto IN LISTS ARGN)
    string(REGEX REPLACE "\\.proto$" ".pb" stem ${proto})
    set(generated ${CMAKE_CURRENT_BINARY_DIR}/${stem})
    add_custom_command(
      OUTPUT ${generated}.cc ${generated}.h
      COMMAND ${TELVAR_PROTOC} --cpp_out=${CMAKE_CURRENT_BINARY_DIR} -I ${CMAKE_CURRENT_SOURCE_DIR}
              ${TELVAR_PROTO_INCLUDE_FLAGS} ${CMAKE_CURRENT_SOURCE_DIR}/${proto}
      DEPENDS ${proto}
      COMMENT "Generating ${stem}.h"
      VERBATIM)
    list(APPEND sources ${generated}.cc)
  endforeach()
  set(${out_sources} ${sources} PARENT_SCOPE)
endfunction()
