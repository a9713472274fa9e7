#include <windows.h>

#include <shlwapi.h>

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <string>

#include <plenar_base/crypto.h>
#include <plenar_base/deviceinfo.h>
#include <plenar_base/file.h>
#include <plenar_base/stringhelp.h>

#include "framework/log_writer.h"
#include "services/implement/windows_ble/src/windows/ble_api_wrapper.h"
#include "services/implement/windows_ble/src/windows/build_settings.h"

namespace quorvel_service {

bool BleWrapper::CheckSignature(const std::string& file_name) const {
  constexpr DWORD kMaxPathLength = 260;
  wchar_t path[kMaxPathLength + 1] = {};
  ::GetModuleFileNameW(nullptr, path, kMaxPathLength);
  ::PathRemoveFileSpecW(path);
  wcscat_s(path, std::size(path), L"\\");
  const std::string dir = util::stringhelp::UnicodeToUtf8(path);
  const std::string full = util::file::MakeFilePath(dir, file_name);
  QV_LOG(kInformation) << "full path: " << full << ", dir:" << dir;
  if (util::crypto::VerifyFile(util::stringhelp::StringToWString(full)) == 0) return true;

  const std::string signer = util::deviceinfo::GetFileSignature(full);
  QV_LOG(kInformation) << "sign str: " << signer;
  const bool valid = std::ranges::find(build_settings::kPublisherNames, signer) !=
                     std::end(build_settings::kPublisherNames);
  QV_LOG(kInformation) << "is_valid: " << valid;
  return valid;
}

}  // namespace quorvel_service
