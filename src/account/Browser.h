#pragma once

class QUrl;

// Opens a URL in the user's default browser.
class Browser
{
public:
    virtual ~Browser() = default;
    virtual void open(const QUrl &url) = 0;
};
