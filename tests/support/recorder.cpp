#include "tests/support/recorder.h"

#include <nlohmann/json.hpp>

#include "tests/support/allocation_count.h"

namespace qvs_test {
namespace {

constexpr std::pair<std::uint64_t, const char*> kEventNames[] = {
    {0x3C3C199E, "state"},
    {0x2012BD8F, "status_info"},
    {0x0A25AF5A, "retry_info"},
    {0x273BFEA1, "device_json"},
};

std::string EventText(std::uint64_t id, const base::variant::Variant& payload) {
  for (const auto& [known, name] : kEventNames) {
    if (known != id) continue;
    if (payload.Keys() != std::vector<std::string>{name}) break;
    const auto& value = payload.Get(name);
    const bool is_text = value.GetType() == base::variant::Variant::Type::kString;
    if (is_text == (id == kEventNames[0].first)) break;
    if (!is_text) return std::string(name) + ' ' + std::to_string(value.AsInt32());
    return std::string(name) + ' ' + nlohmann::ordered_json::parse(value.AsStr()).dump();
  }
  return "malformed event " + std::to_string(id);
}

}  // namespace

void Recorder::Add(Kind kind, std::string text) {
  if (!is_on) return;
  std::lock_guard lock(mutex_);
  entries_.emplace_back(kind, std::move(text));
}

Lines Recorder::Take(unsigned kinds) {
  std::lock_guard lock(mutex_);
  Lines lines;
  for (auto& [kind, text] : entries_) {
    if (kind & kinds) lines.push_back(std::move(text));
  }
  entries_.clear();
  return lines;
}

void RecordingSink::Write(const base::log::LogRecord& record) {
  const AllocationsMayFail own(false);
  const auto text = std::to_string(record.level) + ' ' + record.function + ": " + record.message;
  recorder_.Add(kPlace, "at " + record.file + ':' + std::to_string(record.line));
  recorder_.Add(record.tag.empty() ? kLog : kLibraryLog,
                record.tag.empty() ? text : record.tag + ' ' + text);
}

void RecordingListener::OnServiceEvent(std::uint64_t event_id,
                                       const std::shared_ptr<base::variant::Variant>& payload) {
  const AllocationsMayFail own(false);
  recorder_.Add(kEvent, (name_.empty() ? "" : name_ + ' ') + EventText(event_id, *payload));
  last_payload = payload.get();
  if (on_event) on_event(event_id);
}

}  // namespace qvs_test
