#include "tests/contract/binary/pe_image.h"

#include <stdexcept>

namespace binary {

PeImage::PeImage(const std::string& path) : bytes_(path), headers_{} {
  const auto start = static_cast<std::size_t>(bytes_.at<IMAGE_DOS_HEADER>(0).e_lfanew);
  headers_ = bytes_.at<IMAGE_NT_HEADERS32>(start);
  if (headers_.Signature != IMAGE_NT_SIGNATURE ||
      headers_.OptionalHeader.Magic != IMAGE_NT_OPTIONAL_HDR32_MAGIC) {
    throw std::runtime_error(path + " is no 32-bit Windows image");
  }
  sections_ = bytes_.array_at<IMAGE_SECTION_HEADER>(start + sizeof headers_,
                                                    headers_.FileHeader.NumberOfSections);
}

bool PeImage::has_directory(std::size_t index) const {
  return optional_header().DataDirectory[index].Size != 0;
}

IMAGE_EXPORT_DIRECTORY PeImage::export_directory() const {
  return directory<IMAGE_EXPORT_DIRECTORY>(IMAGE_DIRECTORY_ENTRY_EXPORT);
}

std::vector<std::string> PeImage::exported_names() const {
  const IMAGE_EXPORT_DIRECTORY exports = export_directory();
  std::vector<std::string> names;
  for (const DWORD name :
       bytes_.array_at<DWORD>(file_offset(exports.AddressOfNames), exports.NumberOfNames)) {
    names.push_back(bytes_.text_at(file_offset(name)));
  }
  return names;
}

std::vector<std::string> PeImage::imported_libraries() const {
  std::vector<std::string> names;
  std::size_t offset =
      file_offset(optional_header().DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
  for (;; offset += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
    const auto entry = bytes_.at<IMAGE_IMPORT_DESCRIPTOR>(offset);
    if (entry.Name == 0) return names;
    names.push_back(bytes_.text_at(file_offset(entry.Name)));
  }
}

std::optional<VS_FIXEDFILEINFO> PeImage::version() const {
  constexpr DWORD kSignature = 0xFEEF04BD;
  const IMAGE_DATA_DIRECTORY& resources =
      optional_header().DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE];
  const std::size_t start = file_offset(resources.VirtualAddress);
  for (std::size_t i = 0; i + sizeof(VS_FIXEDFILEINFO) <= resources.Size; i += sizeof(DWORD)) {
    const auto info = bytes_.at<VS_FIXEDFILEINFO>(start + i);
    if (info.dwSignature == kSignature) return info;
  }
  return std::nullopt;
}

// Where the loaded address lies in the file.
std::size_t PeImage::file_offset(std::size_t address) const {
  for (const IMAGE_SECTION_HEADER& section : sections_) {
    const std::size_t start = section.VirtualAddress;
    if (address >= start && address - start < section.SizeOfRawData) {
      return section.PointerToRawData + (address - start);
    }
  }
  throw std::out_of_range("address in no section");
}

template <typename Record>
Record PeImage::directory(std::size_t index) const {
  return bytes_.at<Record>(file_offset(optional_header().DataDirectory[index].VirtualAddress));
}

}  // namespace binary
