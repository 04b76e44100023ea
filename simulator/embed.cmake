# kx_embed(target path=file...): builds files into a program, compressed, as the assets of web/assets.h. The assembler reads
# them, which takes no time and notices when they change.
function(kx_embed target)
  set(types html text/html css text/css js text/javascript svg image/svg+xml otf font/otf)
  set(number 0)
  foreach(argument ${ARGN})
    string(REGEX MATCH "^([^=]*)=(.*\\.([a-z]+))$" matched ${argument})
    set(path ${CMAKE_MATCH_1})
    set(file ${CMAKE_MATCH_2})
    list(FIND types ${CMAKE_MATCH_3} type)
    math(EXPR type "${type} + 1")
    list(GET types ${type} type)
    set(packed ${CMAKE_CURRENT_BINARY_DIR}/assets/${number}.gz)
    add_custom_command(OUTPUT ${packed} DEPENDS ${file} VERBATIM
                       COMMAND sh -c "gzip -9nc \"$1\" >\"$2\"" gzip ${file} ${packed})
    string(APPEND data ".global kx_asset_${number}, kx_asset_${number}_end\n"
                       ".hidden kx_asset_${number}, kx_asset_${number}_end\n"
                       "kx_asset_${number}: .incbin \"${packed}\"\nkx_asset_${number}_end: .byte 0\n")
    string(APPEND names "extern \"C\" __attribute__((visibility(\"hidden\"))) const char kx_asset_${number}[], "
                        "kx_asset_${number}_end[];\n")
    string(APPEND rows "    {\"${path}\", \"${type}\", {kx_asset_${number}, kx_asset_${number}_end}},\n")
    list(APPEND files ${packed})
    math(EXPR number "${number} + 1")
  endforeach()
  file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/assets)
  set(source ${CMAKE_CURRENT_BINARY_DIR}/assets.cpp)
  file(CONFIGURE OUTPUT ${source} @ONLY CONTENT
       "#include \"web/assets.h\"\n\nasm(R\"(.pushsection .rodata\n@data@.popsection)\");\n\n@names@
static const kx::sim::Asset embedded[] = {\n@rows@};\n
const std::span<const kx::sim::Asset> kx::sim::assets = embedded;\n")
  set_source_files_properties(${source} PROPERTIES OBJECT_DEPENDS "${files}" SKIP_UNITY_BUILD_INCLUSION ON)
  target_sources(${target} PRIVATE ${source})
endfunction()
