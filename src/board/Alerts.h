#pragma once

#include "board/UserPort.h"

#include <QString>

#include <optional>
#include <string_view>

namespace Kelvane {

/// What an alert's text may name.
struct AlertContext
{
    QString mainNodePath;
    QString programDirectory;
    QString filesListPath {}; // the open area's Files List
};

/// The fixed message box of an alert key, and which answer makes its result true.
struct AlertBox
{
    MessageBox box;
    std::optional<Answer> trueWhen; // none: the result is always false
};

/// Every expected condition goes through the alert catalogue by key: the key names one
/// fixed box and, for questions, the answer that counts as yes.
std::optional<AlertBox> alertFor(std::string_view key, const AlertContext& context);

/// Shows the alert of key and returns its result; an unknown key shows nothing and gives false.
bool ShowAlert(UserPort& port, std::string_view key, const AlertContext& context);

/// Every key of the catalogue, in its order.
std::vector<std::string_view> alertKeys();

} // namespace Kelvane
