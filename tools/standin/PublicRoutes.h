#pragma once

#include <QJsonObject>

namespace standin {

class DemoBook;
class Router;

// The service's public, unauthenticated endpoints, answered from the demo book.
void addPublicRoutes(Router &router, const DemoBook &book);

QJsonObject trackRecordJson(const DemoBook &book);
QJsonObject statsJson(const DemoBook &book);

} // namespace standin
