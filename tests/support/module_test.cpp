#include "tests/support/module_test.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>

#include <plenar_base/time_source.h>

#include "tests/support/allocation_count.h"

// Of the leak checker, when the build has one.
extern "C" [[gnu::weak]] void __lsan_disable();
extern "C" [[gnu::weak]] void __lsan_enable();

namespace qvs_test {

using base::variant::Variant;

namespace {

constexpr std::pair<std::uint64_t, const char*> kMethodNames[] = {
    {0x12771AB0, "Init"},           {0x06D66975, "UnInit"},
    {0x237FDF45, "CheckBleState"},  {0x1AF60F51, "StartWatchBroadcast"},
    {0x36449713, "StartBroadcast"}, {0x11D34E04, "GetBleScanCache"},
};

template <class Type>
Type* Function(const SharedLibrary& library, const char* name) {
  return reinterpret_cast<Type*>(dlsym(library.get(), name));
}

}  // namespace

std::shared_ptr<Variant> Args(std::initializer_list<Arg> arguments) {
  auto made = std::make_shared<Variant>();
  for (const auto& [key, value] : arguments) made->Set(key, value);
  return made;
}

/// Steps the virtual radio along with simulated time.
class ModuleTest::RadioInTime final : public base::time::SimulatedTimeParticipant {
 public:
  explicit RadioInTime(plenar_ble_control::VirtualRadio& radio) : radio_(radio) {}

  std::optional<std::uint64_t> NextDeadline() override { return radio_.NextDeadline(); }
  std::size_t AdvanceTo(std::uint64_t now_ms) override { return radio_.AdvanceTo(now_ms); }

 private:
  plenar_ble_control::VirtualRadio& radio_;
};

ModuleTest::ModuleTest() : time_(std::make_shared<base::time::SimulatedTime>()) {
  base::time::SetTimeSource(time_);
  looper_.emplace();
  base::log::AddLogSink(sink_);
  base::log::SetLogLevel(6);

  pc_.Reset();
  pc_.SetCallObserver([this](std::string_view call, const std::string& arguments) {
    static const std::regex handle("0x[0-9a-f]+");
    recorder_.Add(kWindows, "win " + std::string(call) + '(' +
                                std::regex_replace(arguments, handle, "*") + ')');
  });

  ble_api_.reset(dlopen(kBleApi.c_str(), RTLD_NOW));
  using plenar_ble_control::kControlExport, plenar_ble_control::PlenarBleControlFunction;
  radio_ = Function<PlenarBleControlFunction>(ble_api_, kControlExport)();
  radio_->Reset();
  radio_->SetAir(plenar_ble_control::Air::kInProcess);
  radio_->UseManualTime(time_->SteadyMilliseconds());
  radio_->SetCallObserver([this](std::string_view function, const std::string& arguments) {
    recorder_.Add(kBle, "ble " + std::string(function) + '(' + arguments + ')');
  });
  radio_in_time_ = std::make_unique<RadioInTime>(*radio_);
  time_->SetParticipant(radio_in_time_.get());
}

ModuleTest::~ModuleTest() {
  UnloadModule();
  EXPECT_EQ(pc_.OpenHandleCount(), 0u);
  EXPECT_EQ(pc_.WindowCount(), 0u);
  EXPECT_EQ(pc_.DeviceNotificationCount(), 0u);
  if (ble_api_) ReleaseBleApi();
  pc_.SetCallObserver(nullptr);
  base::log::RemoveLogSink(sink_);
  looper_.reset();
  base::time::SetTimeSource(nullptr);
}

void ModuleTest::LoadModule() {
  // The service factory is never destroyed, and nothing refers to it after the module was unloaded.
  if (__lsan_disable != nullptr) __lsan_disable();
  {
    const AllocationsMayFail tested(true);
    module_.reset(dlopen(kModule.c_str(), RTLD_NOW));
  }
  create_ = Function<quorvel_service::QVCreateServiceFunction>(module_, "QVCreateService");
  destroy_ = Function<quorvel_service::QVDestroyServiceFunction>(module_, "QVDestroyService");
  create_("");  // Makes the factory if there was no memory for it.
  if (__lsan_enable != nullptr) __lsan_enable();
}

void ModuleTest::UnloadModule() {
  while (!services_.empty()) DestroyService(services_.back());
  Settle();
  const AllocationsMayFail tested(true);
  module_.reset();
}

quorvel_service::IService* ModuleTest::CreateService() {
  quorvel_service::IService* service = nullptr;
  {
    const AllocationsMayFail tested(true);
    service = create_(quorvel_service::windows_ble::kServiceName);
  }
  if (service == nullptr) return nullptr;
  services_.push_back(service);
  service->AddListener(&listener_);
  return service;
}

void ModuleTest::DestroyService(quorvel_service::IService* service) {
  std::erase(services_, service);
  if (service == service_) service_ = nullptr;
  const AllocationsMayFail tested(true);
  destroy_(service);
}

void ModuleTest::Start() {
  Unrecorded([this] {
    LoadModule();
    service_ = CreateService();
  });
}

void ModuleTest::Restart() {
  Unrecorded([this] {
    UnloadModule();
    SetUp();
  });
}

void ModuleTest::ReleaseBleApi() {
  time_->SetParticipant(nullptr);
  radio_->SetCallObserver(nullptr);
  ble_api_.reset();
}

void ModuleTest::RunFor(std::uint64_t milliseconds) {
  const AllocationsMayFail tested(true);
  time_->RunFor(*looper_, milliseconds);
}

void ModuleTest::CompareStory(unsigned kinds) {
  const auto& test = *testing::UnitTest::GetInstance()->current_test_info();
  const auto file =
      std::string(QVS_TEST_STORIES "/") + test.test_suite_name() + '.' + test.name() + ".txt";
  // The folder of the library differs from build to build.
  static const std::regex paths(R"((full path: )\\.*(\\plenar_ble_api\.dll, dir:)\\.*(\\))");
  static const std::regex line_ends("\n *");
  std::string story;
  std::vector<std::size_t> calls;  // that have not returned yet: where their lines end
  for (const auto& line : Take(kinds)) {
    if (line.starts_with("ret ")) {
      story.insert(calls.back(), " -> " + line.substr(4));
      calls.pop_back();
      continue;
    }
    const bool is_call = line.starts_with("call ");
    const bool is_step = is_call || line.starts_with("> ");
    story.append(4 * std::max<std::size_t>(calls.size(), is_step ? 0 : 1), ' ');
    const auto text = std::regex_replace(line, paths, "$1*$2*$3");
    story += is_call ? "> " + line.substr(5) : std::regex_replace(text, line_ends, " ");
    if (is_call) calls.push_back(story.size());
    story += '\n';
  }
  if (std::getenv("QVS_WRITE_STORIES") != nullptr) std::ofstream(file) << story;
  std::ostringstream expected;
  expected << std::ifstream(file).rdbuf();
  EXPECT_EQ(story, expected.str()) << file;
}

int ModuleTest::Call(std::uint64_t id, const std::shared_ptr<Variant>& arguments) {
  for (const auto& [known, name] : kMethodNames) {
    if (known == id) recorder_.Add(kCall, std::string("call ") + name);
  }
  std::shared_ptr<base::future::VariantFuture> future;
  {
    const AllocationsMayFail tested(true);
    future = service_->Call(id, arguments);
  }
  if (future == nullptr) return kNoMemory;
  EXPECT_EQ(future->GetState(), base::future::FutureState::kValueSet);
  const auto result = future->Value();
  EXPECT_EQ(result->Keys(), std::vector<std::string>{"ret"});
  EXPECT_EQ(result->Get("ret").GetType(), Variant::Type::kSigned);
  const int ret = result->Get("ret").AsInt32();
  recorder_.Add(kCall, "ret " + std::to_string(ret));
  return ret;
}

}  // namespace qvs_test
