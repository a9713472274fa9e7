#pragma once

#include <QObject>
#include <QVariantMap>

/// What a method of the module would be as a slot of Qt, called with named arguments.
class QtService : public QObject {
  Q_OBJECT

 public:
  Q_INVOKABLE QVariantMap StartBroadcast(const QVariantMap& arguments) {
    const bool start = arguments.value(QStringLiteral("start")).toBool();
    const QString uuid = arguments.value(QStringLiteral("uuid")).toString();
    const QByteArray data = arguments.value(QStringLiteral("custom_data")).toString().toUtf8();
    const bool is_valid = !start || (uuid.size() == 36 && data.size() <= 12);
    return {{QStringLiteral("ret"), is_valid ? 0 : 7}};
  }
};
