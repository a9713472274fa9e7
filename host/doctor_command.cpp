#include <algorithm>
#include <memory>
#include <mutex>
#include <random>
#include <string>

#include <plenar_base/crypto.h>
#include <plenar_base/deviceinfo.h>
#include <plenar_base/log_sink.h>
#include <qvs_windows_ble/client.h>

#include "host/commands.h"
#include "host/describe.h"
#include "host/output.h"
#include "host/radio.h"
#include "host/scoped_log_sink.h"
#include "host/session.h"
#include "host/terminal.h"

namespace qvs_host {
namespace {

/// Keeps the last error that is logged. [any thread]
class LastError final : public base::log::LogSink {
 public:
  void Write(const base::log::LogRecord& record) override {
    const std::scoped_lock lock(mutex_);
    if (record.level <= 3) message_ = record.message;
  }
  [[nodiscard]] std::string Message() {
    const std::scoped_lock lock(mutex_);
    return message_;
  }

 private:
  std::mutex mutex_;
  std::string message_;
};

/// Prints a line about each thing that is looked at, and counts what is wrong.
class Findings {
 public:
  /// `otherwise` says what is wrong and what to do.
  bool Line(bool is_well, const std::string& what, const std::string& otherwise) {
    PrintLine(is_well ? "ok     " + what : "wrong  " + otherwise);
    if (!is_well) ++wrong_;
    return is_well;
  }
  [[nodiscard]] int Wrong() const { return wrong_; }

 private:
  int wrong_ = 0;
};

std::string SignerOf(const std::filesystem::path& file) {
  return util::deviceinfo::GetFileSignature(ble::PathText(file));
}

/// Who signed a file, and whether the system trusts that.
std::string Signature(const std::filesystem::path& file, const std::string& signer) {
  if (signer.empty()) return ble::PathText(file) + ": not signed";
  return ble::PathText(file) + ": signed by " + Quoted(signer) +
         (util::crypto::VerifyFile(file.wstring()) == 0 ? ", trusted here" : ", not trusted here");
}

bool LookAtFiles(Findings& findings) {
  const auto module = ble::BesideProgram(ble::kModuleFile);
  const auto library = ble::BesideProgram(ble::kBleApiFile);
  const bool has_module = findings.Line(
      ble::FileExists(module), Signature(module, SignerOf(module)) + "; it need not be",
      ble::PathText(module) + " is missing: install it beside the program");
  const std::string signer = SignerOf(library);
  const bool has_library = findings.Line(!signer.empty(), Signature(library, signer),
                                         signer.empty() ? ble::ExplainBleApiFile() : "");
  return has_module && has_library;
}

std::string RandomUuid() {
  std::random_device random;
  std::string bytes;
  for (int i = 0; i < 16; ++i) bytes += static_cast<char>(random());
  return UuidText(BytesToHex(bytes));
}

void TryToAdvertise(Session& session, Findings& findings) {
  using Status = ble::PublisherStatus;
  const std::string uuid = RandomUuid();
  Status now = {Status::kStopped, 0};
  session.on_status = [&now](const Status& status) { now = status; };
  const ble::Result result = session.Client().StartBroadcast(uuid, "doctor");
  if (result == ble::Result::kSuccess) {
    session.Finish([&] { return now.status == Status::kStarted || now.error != 0; });
  }
  const bool sends =
      findings.Line(now.status == Status::kStarted, "an advertisement is sent",
                    "no advertisement is sent: " +
                        (result == ble::Result::kSuccess ? Describe(now) : ble::Explain(result)));
  if (!sends || RadioInUse() == RadioKind::kSystem) return;  // A PC does not hear itself.
  const std::string heard = OutputOfThisProgram("scan --json --for 2 --uuid " + uuid);
  findings.Line(
      heard.find("\"doctor\"") != std::string::npos, "and another program hears it",
      "but no other program hears it: a firewall may keep programs from the loopback range");
}

void LookAtRadio(Session& session, Findings& findings) {
  using ble::Result;
  const Result state = session.Client().CheckState(/*need_discoverable=*/true);
  const std::string otherwise = ble::Explain(state);
  const bool is_usable =
      state == Result::kSuccess || state == Result::kRadioOff || state == Result::kNotDiscoverable;
  if (!findings.Line(is_usable, "the adapter can be used", otherwise)) return;
  if (findings.Line(state != Result::kRadioOff, "the radio is on", otherwise)) {
    // Which nothing here depends on.
    PrintLine(state == Result::kNotDiscoverable ? "note   " + otherwise
                                                : "ok     the radio is discoverable");
  }
  if (const auto radio = RadioInUse()) findings.Line(true, std::string(NameOf(*radio)), "");
  TryToAdvertise(session, findings);
}

}  // namespace

void Diagnose(const Options& options) {
  base::log::SetLogLevel(std::max(options.log_level, 3));
  const auto error = std::make_shared<LastError>();
  const ScopedLogSink log(error);
  Findings findings;
  findings.Line(util::deviceinfo::IsWin10OrLater(), "Windows 10 or later",
                "Windows is older than Windows 10: update it");
  if (LookAtFiles(findings)) {
    Session session(options);
    session.say = [](const std::string&) {};
    const ble::Result result = session.Client().Init();
    if (findings.Line(result != ble::Result::kLibraryFailure,
                      "the module loads, and takes the library with all it exports",
                      "the module does not take the library: " + Escaped(error->Message()))) {
      LookAtRadio(session, findings);
    }
  }
  if (findings.Wrong() > 0) throw HostError("found wrong: " + std::to_string(findings.Wrong()));
}

}  // namespace qvs_host
