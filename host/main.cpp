#include <exception>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <variant>

#include <plenar_base/log_sink.h>

#include "host/command_line.h"
#include "host/commands.h"
#include "host/output.h"
#include "host/scoped_log_sink.h"
#include "host/terminal.h"

namespace qvs_host {
namespace {

int Complain(std::string_view what, int exit_status) {
  std::cerr << "qvs_host: " << what << std::endl;
  return exit_status;
}

int Run(const Options& options, const std::function<void()>& act) {
  std::optional<ScopedLogSink> log_file;
  if (!options.log_file.empty()) {
    const std::u8string name(options.log_file.begin(), options.log_file.end());
    try {
      WithoutInterrupts([&] { log_file.emplace(base::log::MakeFileSink(name)); });
    } catch (const std::system_error& error) {
      return Complain("cannot open " + options.log_file + ": " + error.code().message(),
                      kExitBadArguments);
    }
  }
  base::log::SetLogLevel(options.log_level);
  try {
    act();
    return kExitOk;
  } catch (const OutputClosed&) {
    return kExitOk;
  } catch (const std::exception& error) {
    return Complain(error.what(), kExitFailed);
  }
}

/// The whole program, in its namespace.
int Main(int argc, char** argv) {
  PrepareStandardStreams();
  const auto request = ParseCommandLine(ArgumentsInUtf8(argc, argv));
  if (const auto* const line = std::get_if<CommandLine>(&request)) {
    return Run(line->options, [&] { line->command(line->options); });
  }
  const Notice& notice = std::get<Notice>(request);
  if (notice.exit_status == kExitOk) return Run({}, [&] { Write(notice.text); });
  std::cerr << notice.text << std::flush;
  return notice.exit_status;
}

}  // namespace
}  // namespace qvs_host

int main(int argc, char** argv) {
  return qvs_host::Main(argc, argv);
}
