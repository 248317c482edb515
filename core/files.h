#pragma once
// File system helpers of the program.
#include <string>

namespace tornel {

bool FileExists(const std::string& path);
bool FolderExists(const std::string& path);
// Whole file into `text`; false when it cannot be read.
bool ReadWholeFile(const std::string& path, std::string& text);
// Writes a temporary file beside `path` and renames it over `path`, so that a failed write leaves
// the old file as it was.
bool WriteFileAtomically(const std::string& path, const std::string& text);
// The folder text with a final "/".
std::string WithTrailingSlash(std::string folder);
// Copies a file through a temporary file and a rename; false on any failure.
bool CopyFileAtomically(const std::string& from, const std::string& to);

}  // namespace tornel
