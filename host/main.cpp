#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include <plenar_base/log_sink.h>

#include "host/command_line.h"
#include "host/commands.h"
#include "host/demo/demo.h"
#include "host/host_error.h"
#include "host/scoped_log_sink.h"
#include "host/terminal.h"

namespace qvs_host {
namespace {

int Complain(std::string_view what, int exit_status) {
  std::cerr << "qvs_host: " << what << std::endl;
  return exit_status;
}

/// One overload per command; each gives the exit status.
struct CommandRunner {
  int operator()(const DemoOptions&) const { return RunDemo(); }
  int operator()(const AdvertiseOptions& options) const { return Run(Advertise, options); }
  int operator()(const ScanOptions& options) const { return Run(Scan, options); }
  int operator()(const StateOptions& options) const { return Run(ShowState, options); }

 private:
  template <class Options>
  static int Run(void (*command)(const Options&), const Options& options) {
    const ScopedLogSink log(base::log::MakeStderrSink());
    command(options);
    return kExitOk;
  }
};

int Run(const CommandLine& line) {
  std::optional<ScopedLogSink> log_file;
  if (!line.log_file.empty()) {
    const std::u8string name(line.log_file.begin(), line.log_file.end());
    try {
      log_file.emplace(base::log::MakeFileSink(name));
    } catch (const std::system_error& error) {
      return Complain("cannot open " + line.log_file + ": " + error.code().message(),
                      kExitBadArguments);
    }
  }
  base::log::SetLogLevel(line.log_level);
  try {
    return std::visit(CommandRunner{}, line.command);
  } catch (const std::exception& error) {
    return Complain(error.what(), kExitFailed);
  }
}

int Print(const Notice& notice) {
  (notice.exit_status == kExitOk ? std::cout : std::cerr) << notice.text << std::flush;
  if (!std::cout) return Complain("cannot write to the standard output", kExitFailed);
  return notice.exit_status;
}

/// The whole program, in its namespace.
int Main(int argc, char** argv) {
  PrepareStandardStreams();
  const auto request = ParseCommandLine(ArgumentsInUtf8(argc, argv));
  if (const auto* const notice = std::get_if<Notice>(&request)) return Print(*notice);
  return Run(std::get<CommandLine>(request));
}

}  // namespace
}  // namespace qvs_host

int main(int argc, char** argv) {
  return qvs_host::Main(argc, argv);
}
