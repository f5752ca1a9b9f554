#pragma once

#include <QString>
#include <QVariantMap>

struct CloudAccount
{
    QString username;
    QString firstName;
    QString lastName;
    QString email;
};

struct CloudRole
{
    QString roleUuid;
    QString type;
    bool isAdministrator = false; // type is "Administrator"
};

// The signed-in user as the cloud describes it at "/customer/me/". Missing keys give the
// defaults below.
class CloudUser
{
public:
    CloudUser() = default;
    explicit CloudUser(const QVariantMap &map);

    QString customerUuid;
    QString language = QStringLiteral("en");
    bool validated = false;
    CloudAccount account;
    CloudRole role;
};
