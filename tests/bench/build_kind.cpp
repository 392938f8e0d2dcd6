#include "bench/build_kind.h"

#include <elf.h>

#include <cstring>
#include <string_view>

#include "sim/error.h"
#include "sim/files.h"

namespace bench {

namespace {

/** A structure that stands somewhere in a file. */
template <class Structure>
Structure structureAt(const std::string& content, std::size_t offset) {
  Structure structure{};
  if (offset + sizeof structure > content.size()) {
    throw sim::Error("a program is cut short");
  }
  std::memcpy(&structure, content.data() + offset, sizeof structure);
  return structure;
}

template <class Header, class Segment>
BuildKind kindFrom(const std::string& content) {
  const auto header = structureAt<Header>(content, 0);
  bool isStatic = true;
  for (std::size_t i = 0; i < header.e_phnum; ++i) {
    const auto segment = structureAt<Segment>(content, header.e_phoff + i * header.e_phentsize);
    isStatic = isStatic && segment.p_type != PT_INTERP;
  }
  return {.isStatic = isStatic,
          .isPositionIndependent = header.e_type == ET_DYN,
          .hasDebugInformation = content.find(".debug_info") != std::string::npos,
          .hasSanitizers = content.find("__asan_init") != std::string::npos,
          .is64Bit = content[EI_CLASS] == ELFCLASS64};
}

}  // namespace

BuildKind buildKindOf(const std::string& program) {
  const std::string content = sim::readFile(program);
  if (!content.starts_with(ELFMAG) || content.size() <= EI_NIDENT) {
    throw sim::Error(program + " is no ELF program");
  }
  return content[EI_CLASS] == ELFCLASS64 ? kindFrom<Elf64_Ehdr, Elf64_Phdr>(content)
                                         : kindFrom<Elf32_Ehdr, Elf32_Phdr>(content);
}

std::string describe(const BuildKind& kind) {
  std::string text = kind.is64Bit ? "64-bit" : "32-bit";
  text += kind.isStatic ? ", static" : ", shared";
  text += kind.isPositionIndependent ? ", position independent" : ", at a fixed address";
  text += kind.hasDebugInformation ? ", with debug information" : "";
  text += kind.hasSanitizers ? ", with sanitizers" : "";
  return text;
}

std::string abbreviate(const BuildKind& kind) {
  std::string text = kind.isStatic ? "static" : "shared";
  text += kind.isPositionIndependent ? " pie" : "";
  text += kind.hasDebugInformation ? " dbg" : "";
  text += kind.hasSanitizers ? " asan" : "";
  return text;
}

}  // namespace bench
