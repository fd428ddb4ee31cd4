#pragma once

namespace standin {

class Router;
class Server;

// The JSON control surface under /_standin/ that scripts use to steer a running stand-in.
void addControlRoutes(Router &router, Server &server);

} // namespace standin
