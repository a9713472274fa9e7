#include <filesystem>
#include <string>

#include <plenar_base/file.h>

namespace util::file {

std::string MakeFilePath(const std::string& dir, const std::string& name) {
  if (dir.empty()) return name;
  const bool has_separator = dir.back() == '/' || dir.back() == '\\';
  std::string path = dir;
  if (!has_separator) path += static_cast<char>(std::filesystem::path::preferred_separator);
  return path += name;
}

}  // namespace util::file
