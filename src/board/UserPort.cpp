#include "board/UserPort.h"

namespace Kelvane {

Answer safeAnswer(Buttons buttons)
{
    switch (buttons) {
    case Buttons::Ok:
    case Buttons::OkHelp:
        return Answer::Ok;
    case Buttons::OkCancel:
    case Buttons::RetryCancel:
        return Answer::Cancel;
    case Buttons::YesNo:
        return Answer::No;
    }
    return Answer::Cancel;
}

Answer agreeingAnswer(Buttons buttons)
{
    switch (buttons) {
    case Buttons::Ok:
    case Buttons::OkHelp:
    case Buttons::OkCancel:
        return Answer::Ok;
    case Buttons::RetryCancel:
        return Answer::Retry;
    case Buttons::YesNo:
        return Answer::Yes;
    }
    return Answer::Ok;
}

} // namespace Kelvane
