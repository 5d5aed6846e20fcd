// Version resources read from a file's own bytes: the VS_VERSIONINFO resource of a
// PE file, or the version note that our build embeds in its ELF files, turned into
// the same VS_VERSIONINFO block so that one query serves both.
//
// Every offset, count and length in the file is checked against the bytes present
// before it is used; a damaged or hostile file gives "no version resource".
#pragma once
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "zevutil/platform/Types.h"

namespace zev::identity {

// VS_FIXEDFILEINFO, the root value of a version block (52 bytes, little-endian).
struct FixedFileInfo {
  DWORD dwSignature = 0xFEEF04BD;
  DWORD dwStrucVersion = 0x00010000;
  DWORD dwFileVersionMS = 0;
  DWORD dwFileVersionLS = 0;
  DWORD dwProductVersionMS = 0;
  DWORD dwProductVersionLS = 0;
  DWORD dwFileFlagsMask = 0x3F;
  DWORD dwFileFlags = 0;
  DWORD dwFileOS = 0;
  DWORD dwFileType = 0;
  DWORD dwFileSubtype = 0;
  DWORD dwFileDateMS = 0;
  DWORD dwFileDateLS = 0;
};
inline constexpr DWORD kFixedFileInfoSignature = 0xFEEF04BD;
inline constexpr std::size_t kFixedFileInfoSize = 52;

// The owner name and type of our ELF version note.
inline constexpr char kVersionNoteOwner[] = "ZevUtil";
inline constexpr DWORD kVersionNoteType = 1;
inline constexpr DWORD kVersionNoteFormat = 1;

using VersionStrings = std::vector<std::pair<std::string, std::string>>;

// The version block of an image: a PE file's RT_VERSION resource (name 1, first
// language), or the block built from our ELF note. False when there is none.
bool ExtractVersionBlock(const BYTE* image, std::size_t size, std::vector<BYTE>& block);
// The same for a file, read through CFile. False for a missing or unreadable file,
// or one larger than kMaxImageBytes.
bool ReadVersionBlock(const char* path, std::vector<BYTE>& block);
inline constexpr std::size_t kMaxImageBytes = std::size_t(512) << 20;

// The fixed file information at "\" of a block: false unless it is there with its signature.
bool QueryFixedFileInfo(const std::vector<BYTE>& block, FixedFileInfo& out);
// A text value by path ("\StringFileInfo\040904B0\ProductName"); keys match without
// regard to ASCII case. The text comes back in code page 1252 ('?' where it has no
// character). False when the path is not there.
bool QueryVersionString(const std::vector<BYTE>& block, const char* path, std::string& out);

// Builds a VS_VERSIONINFO block: the fixed information, a StringFileInfo table
// (default 040904B0) with the strings (code page 1252 texts), and a VarFileInfo
// Translation matching the table.
std::vector<BYTE> BuildVersionBlock(const FixedFileInfo& fixed, const VersionStrings& strings,
                                    const char* table = "040904B0");

}  // namespace zev::identity
