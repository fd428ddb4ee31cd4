#pragma once

namespace standin {

class Router;
class Server;

// Control calls that steer the sign-in backend, the demo account and the updates feed.
void addAccountControlRoutes(Router &router, Server &server);

} // namespace standin
