#pragma once

#include "account/Browser.h"

// The user's default browser, through the desktop's URL handler.
class DesktopBrowser final : public Browser
{
public:
    void open(const QUrl &url) override;
};
