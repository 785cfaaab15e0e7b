#include "tests/contract/support/version_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <utility>

#include "tests/contract/support/shared_library.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <elf.h>
#endif

namespace contract {
namespace {

void put16(Bytes& out, std::size_t number) {
  out.push_back(static_cast<unsigned char>(number & 0xFF));
  out.push_back(static_cast<unsigned char>(number >> 8 & 0xFF));
}

void put_text(Bytes& out, const Text& text) {
  for (const qm_wchar unit : text) put16(out, unit);
  put16(out, 0);
}

void align(Bytes& out) {
  while (out.size() % 4 != 0) out.push_back(0);
}

void put_node(Bytes& out, const VersionNode& node) {
  align(out);
  const std::size_t start = out.size();
  put16(out, 0);
  put16(out, node.value_length);
  put16(out, node.type);
  put_text(out, node.key);
  if (!node.value.empty()) {
    align(out);
    out.insert(out.end(), node.value.begin(), node.value.end());
  }
  for (const VersionNode& child : node.children) put_node(out, child);
  const std::size_t length = out.size() - start;
  out[start] = static_cast<unsigned char>(length & 0xFF);
  out[start + 1] = static_cast<unsigned char>(length >> 8 & 0xFF);
}

}  // namespace

VersionNode version_text(const Text& key, const Text& value) {
  VersionNode node{key, 1, {}, static_cast<std::uint16_t>(value.size() + 1), {}};
  put_text(node.value, value);
  return node;
}

VersionNode version_translations(const std::vector<std::pair<std::uint16_t, std::uint16_t>>& all) {
  VersionNode translation{QM_W("Translation"), 0, {}, 0, {}};
  for (const auto& [language, code_page] : all) {
    put16(translation.value, language);
    put16(translation.value, code_page);
  }
  translation.value_length = static_cast<std::uint16_t>(translation.value.size());
  return {QM_W("VarFileInfo"), 1, {}, 0, {translation}};
}

VersionNode version_tables(std::vector<VersionNode> tables) {
  return {QM_W("StringFileInfo"), 1, {}, 0, std::move(tables)};
}

VersionNode version_root(std::vector<VersionNode> children) {
  // Signature, structure version, then 1.2.3.300 for file and product, then flags and dates.
  constexpr std::uint32_t kFixed[13] = {0xFEEF04BD, 0x00010000, 0x00010002, 0x0003012C, 0x00010002,
                                        0x0003012C, 0x3F,       0,          4,          2,
                                        0,          0,          0};
  VersionNode root{QM_W("VS_VERSION_INFO"), 0, {}, sizeof kFixed, std::move(children)};
  for (const std::uint32_t word : kFixed) {
    put16(root.value, word & 0xFFFF);
    put16(root.value, word >> 16);
  }
  return root;
}

Bytes version_bytes(const VersionNode& root) {
  Bytes out;
  put_node(out, root);
  return out;
}

#ifdef _WIN32

void write_version_file(const std::filesystem::path& file, const Bytes& block) {
  std::filesystem::copy_file(module_folder() / "tm_noversion.dll", file);
  const HANDLE update = ::BeginUpdateResourceW(file.c_str(), FALSE);
  ASSERT_NE(update, nullptr);
  Bytes content = block;
  EXPECT_TRUE(::UpdateResourceW(update, MAKEINTRESOURCEW(16), MAKEINTRESOURCEW(1),
                                MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL), content.data(),
                                static_cast<DWORD>(content.size())));
  EXPECT_TRUE(::EndUpdateResourceW(update, FALSE));
}

#else

void write_version_file(const std::filesystem::path& file, const Bytes& block) {
  static constexpr char kNames[] = "\0.qmversion\0.shstrtab";
  Elf64_Ehdr header{};
  std::memcpy(header.e_ident, ELFMAG, SELFMAG);
  header.e_ident[EI_CLASS] = ELFCLASS64;
  header.e_ident[EI_DATA] = ELFDATA2LSB;
  header.e_ident[EI_VERSION] = EV_CURRENT;
  header.e_type = ET_DYN;
  header.e_machine = EM_X86_64;
  header.e_version = EV_CURRENT;
  header.e_ehsize = sizeof header;
  header.e_shentsize = sizeof(Elf64_Shdr);
  header.e_shnum = 3;
  header.e_shstrndx = 2;
  header.e_shoff = sizeof header;
  Elf64_Shdr sections[3] = {};
  sections[1].sh_name = 1;
  sections[1].sh_type = SHT_PROGBITS;
  sections[1].sh_offset = sizeof header + sizeof sections;
  sections[1].sh_size = block.size();
  sections[1].sh_addralign = 4;
  sections[2].sh_name = 12;
  sections[2].sh_type = SHT_STRTAB;
  sections[2].sh_offset = sections[1].sh_offset + block.size();
  sections[2].sh_size = sizeof kNames;
  std::ofstream out(file, std::ios::binary);
  out.write(reinterpret_cast<const char*>(&header), sizeof header);
  out.write(reinterpret_cast<const char*>(sections), sizeof sections);
  out.write(reinterpret_cast<const char*>(block.data()),
            static_cast<std::streamsize>(block.size()));
  out.write(kNames, sizeof kNames);
  ASSERT_TRUE(out.good());
}

#endif

}  // namespace contract
