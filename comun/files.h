#pragma once
// File system helpers of the program.
#include <string>
#include <vector>

namespace tornel {

bool FileExists(const std::string& path);
bool FolderExists(const std::string& path);
// Whole file into `text`; false when it cannot be read.
bool ReadWholeFile(const std::string& path, std::string& text);
// The lines of a text, ended by CR LF or LF; no empty line after a final line end.
std::vector<std::string> SplitLines(const std::string& text);
// Writes a temporary file beside `path` and renames it over `path`, so that a failed write leaves
// the old file as it was and a reader sees the old file or the new one whole. `durable` also waits
// for the disk before the rename, so that a power cut cannot leave it empty: worth its milliseconds
// for what the user keeps, not for a status file rewritten at every analysis.
enum class Durability { Durable, Transient };
bool WriteFileAtomically(const std::string& path, const std::string& text,
                         Durability durability = Durability::Durable);
// The folder text with a final "/".
std::string WithTrailingSlash(std::string folder);
// Time of the last change of a file, seconds since the epoch; -1 when it cannot be read.
double FileStamp(const std::string& path);
// Copies a file through a temporary file and a rename; false on any failure.
bool CopyFileAtomically(const std::string& from, const std::string& to);

}  // namespace tornel
