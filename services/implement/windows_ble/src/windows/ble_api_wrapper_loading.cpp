#include <windows.h>

#include <shlwapi.h>

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <iterator>
#include <optional>
#include <string>

#include <plenar_base/crypto.h>
#include <plenar_base/deviceinfo.h>
#include <plenar_base/file.h>
#include <plenar_base/stringhelp.h>

#include "framework/log_writer.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"
#include "services/implement/windows_ble/src/windows/ble_api_table.h"
#include "services/implement/windows_ble/src/windows/ble_api_wrapper.h"
#include "services/implement/windows_ble/src/windows/build_settings.h"

namespace quorvel_service {
namespace {

/// Whose first steps these are; their log lines carry its name.
constexpr char kInit[] = "Init";

std::uint32_t LastError() noexcept {
  return static_cast<std::uint32_t>(::GetLastError());
}

void LogMissing(const BleApiBinding& missing) {
  if (missing.logs_error_code) {
    QV_LOG_TAKING(kError, kInit, error, LastError()) << missing.failure_line << error;
  } else if (missing.failure_line != nullptr) {
    QV_LOG_AT(kError, kInit, __LINE__) << missing.failure_line;
  }
  QV_LOG_AT(kError, kInit, __LINE__) << "load func failed.";
}

}  // namespace

std::optional<std::int32_t> BleWrapper::Load(std::int32_t retry_time) noexcept try {
  retry_time_ = retry_time;
  if (inited_) {
    QV_LOG_AT(kError, kInit, __LINE__) << "ble is already inited, retry_time = " << retry_time;
    return windows_ble::result::kSuccess;
  }
  if (!util::deviceinfo::IsWin10OrLater()) {
    QV_LOG_AT(kError, kInit, __LINE__) << "current windows version is not win10 or later";
    return windows_ble::result::kWindowsTooOld;
  }
  if (!CheckSignature(build_settings::kBleApiLibrary)) {
    QV_LOG_AT(kError, kInit, __LINE__) << "dll signature is illegal";
    return windows_ble::result::kLibraryFailure;
  }
  const HMODULE library = ::LoadLibraryA(build_settings::kBleApiLibrary);
  if (library == nullptr) {
    QV_LOG_TAKING(kError, kInit, error, LastError()) << "load lib failed, error: " << error;
    return windows_ble::result::kLibraryFailure;
  }
  BleApiTable& api = BleApi();
  if (const BleApiBinding* const missing = api.Bind(library)) {
    LogMissing(*missing);
    api.Unload();
    return windows_ble::result::kLibraryFailure;
  }
  api.Call<&BleApiTable::BleSetLogFunc>(&ForwardLibraryLog);
  return std::nullopt;
} catch (...) {
  QV_LOG_FAILURE();
  return windows_ble::result::kLibraryFailure;
}

bool BleWrapper::CheckSignature(const std::string& file_name) const {
  constexpr DWORD kMaxPathLength = 260;
  wchar_t path[kMaxPathLength + 1] = {};
  const DWORD length = ::GetModuleFileNameW(nullptr, path, kMaxPathLength);
  if (length == 0 || length >= kMaxPathLength) {
    // Of a path that is cut off, the loader would look in another folder than this.
    QV_LOG_TAKING(kError, __func__, error, LastError())
        << "get program path failed, error: " << error;
    return false;
  }
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
