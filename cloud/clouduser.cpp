#include "clouduser.h"

CloudUser::CloudUser(const QVariantMap &map)
    : customerUuid(map.value(QStringLiteral("customer_uuid")).toString()),
      language(map.value(QStringLiteral("language"), QStringLiteral("en")).toString()),
      validated(map.value(QStringLiteral("validated"), false).toBool())
{
    const QVariantMap user = map.value(QStringLiteral("user")).toMap();
    account.username = user.value(QStringLiteral("username")).toString();
    account.firstName = user.value(QStringLiteral("first_name")).toString();
    account.lastName = user.value(QStringLiteral("last_name")).toString();
    account.email = user.value(QStringLiteral("email")).toString();

    const QVariantMap roleMap = map.value(QStringLiteral("role")).toMap();
    role.roleUuid = roleMap.value(QStringLiteral("role_uuid")).toString();
    role.type = roleMap.value(QStringLiteral("type")).toString();
    role.isAdministrator = role.type == QLatin1String("Administrator");
}
