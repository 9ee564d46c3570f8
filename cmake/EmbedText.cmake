# quorlin_embed_texts(HEADER template...): configures each template, named FILE.in, to FILE in the build's packaging/,
# and writes a header with the array kEmbeddedTexts of the results.
function(quorlin_embed_texts header)
  foreach(template IN LISTS ARGN)
    get_filename_component(name ${template} NAME_WLE)
    configure_file(${template} ${PROJECT_BINARY_DIR}/packaging/${name} @ONLY)
    file(READ ${PROJECT_BINARY_DIR}/packaging/${name} text)
    string(APPEND texts "    EmbeddedText{\"${name}\", R\"text(${text})text\"},\n")
  endforeach()
  file(CONFIGURE OUTPUT ${header} @ONLY CONTENT
"#pragma once
#include <array>
#include <string_view>
namespace quorlin {
struct EmbeddedText {
  std::string_view name;
  std::string_view text;
};
inline constexpr std::array kEmbeddedTexts{
@texts@};
}  // namespace quorlin
")
endfunction()
