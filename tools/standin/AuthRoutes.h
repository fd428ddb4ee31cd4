#pragma once

namespace standin {

class Router;
class SessionTokens;

// The sign-in backend: the browser's authorize page and the refresh-token grant, under /auth/v1/.
void addAuthRoutes(Router &router, SessionTokens &tokens);

} // namespace standin
