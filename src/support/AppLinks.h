// The product's fixed web links, all on one site, all https.
#pragma once

#include <QUrl>

namespace AppLinks {

inline constexpr auto site = "https://velmora.app";

QUrl website();
QUrl download();
QUrl support();
QUrl terms();
QUrl privacy();

} // namespace AppLinks
