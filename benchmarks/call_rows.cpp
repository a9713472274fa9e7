// A call with named arguments and a named result, against Qt's calls through the meta-object:
// https://doc.qt.io/qt-5/qmetaobject.html#invokeMethod by name, QMetaMethod::invoke by index.

#include <memory>
#include <string>

#include <QMetaMethod>

#include "benchmarks/harness.h"
#include "benchmarks/loaded_module.h"
#include "benchmarks/qt_service.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"

namespace qvs_bench {
namespace {

using base::variant::Variant;

std::shared_ptr<Variant> MakeArguments() {
  auto arguments = std::make_shared<Variant>();
  arguments->Set("start", Variant(false));
  arguments->Set("uuid", Variant(kUuid));
  arguments->Set("custom_data", Variant("room 4.07"));
  return arguments;
}

QVariantMap MakeQtArguments() {
  return {{QStringLiteral("start"), false},
          {QStringLiteral("uuid"), QString::fromLatin1(kUuid)},
          {QStringLiteral("custom_data"), QStringLiteral("room 4.07")}};
}

template <bool makes_arguments>
void CallOurs(benchmark::State& state) {
  auto& module = LoadedModule::Get();
  const auto call = [&module](const std::shared_ptr<Variant>& arguments) {
    return module.Call(quorvel_service::windows_ble::method::kStartBroadcast, arguments);
  };
  const auto at_hand = MakeArguments();
  for (auto _ : state) {
    const std::int32_t ret = makes_arguments ? call(MakeArguments()) : call(at_hand);
    if (ret != 0) return state.SkipWithError("the call failed");
  }
}

template <bool makes_arguments, bool by_name>
void CallQt(benchmark::State& state) {
  QtService service;
  const QVariantMap at_hand = MakeQtArguments();
  const QMetaMethod method = service.metaObject()->method(
      service.metaObject()->indexOfMethod("StartBroadcast(QVariantMap)"));
  const auto call = [&](const QVariantMap& arguments) {
    QVariantMap result;
    const auto give = Q_RETURN_ARG(QVariantMap, result);
    const auto take = Q_ARG(QVariantMap, arguments);
    if (by_name) {
      QMetaObject::invokeMethod(&service, "StartBroadcast", Qt::DirectConnection, give, take);
    } else {
      method.invoke(&service, Qt::DirectConnection, give, take);
    }
    return result.value(QStringLiteral("ret"), 1).toInt();
  };
  for (auto _ : state) {
    const int ret = makes_arguments ? call(MakeQtArguments()) : call(at_hand);
    if (ret != 0) return state.SkipWithError("the call failed");
  }
}

const Registered kRows = {
    {"7 call, arguments at hand, by name",
     0.4,
     {{"ours", &CallOurs<false>}, {"Qt invokeMethod", &CallQt<false, true>}}},
    {"7 call, arguments at hand, by index",
     0.7,
     {{"ours", &CallOurs<false>}, {"Qt QMetaMethod", &CallQt<false, false>}}},
    {"7 call, arguments made as well, by name",
     0.5,
     {{"ours", &CallOurs<true>}, {"Qt invokeMethod", &CallQt<true, true>}}},
    {"7 call, arguments made as well, by index",
     0.5,
     {{"ours", &CallOurs<true>}, {"Qt QMetaMethod", &CallQt<true, false>}}},
};

}  // namespace
}  // namespace qvs_bench
