#include "board/Alerts.h"

#include "platform/ProgramDirectory.h"

#include <QDir>

#include <functional>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

const QString AlertTitle = u"Kelvane Alert!"_s;

struct Alert
{
    std::string_view key;
    Buttons buttons;
    Icon icon;
    std::function<QString(const AlertContext&)> text;
    std::optional<Answer> trueWhen;
    int helpContext = 0;
};

// Lines joined by single CRs; an empty line gives two CRs in a row.
std::function<QString(const AlertContext&)> lines(std::initializer_list<const char16_t*> parts)
{
    QStringList joined;
    for (const char16_t* part : parts)
        joined.append(QString::fromUtf16(part));
    return [text = joined.join(u'\r')](const AlertContext&) { return text; };
}

QString animationText(const AlertContext& context, const QString& name)
{
    const QString path = joinProgramPath(joinProgramPath(context.programDirectory, u"AVI"_s), name);
    return u"Unable to Find/Open \r"_s + QDir::toNativeSeparators(path) + u"\r\rKelvane will skip this operation!"_s;
}

const std::vector<Alert>& catalogue()
{
    static const std::vector<Alert> alerts = {
        { "NoPath", Buttons::Ok, Icon::Critical,
          lines({ u"You have not defined Vandor Main Node's Path!", u"",
                  u"Please select from the Menu, View then Options ", u"and select your Main Node's directory now." }),
          std::nullopt },
        { "CanNotFindFileAreaPath", Buttons::Ok, Icon::Critical,
          lines({ u"There is no File Area Path Defined for this File",
                  u"Area or Kelvane can not find the Drive or Path!", u"",
                  u"Please run Oxmere and correct this problem." }),
          std::nullopt },
        { "CanNotFindFileListPath", Buttons::Ok, Icon::Critical,
          lines({ u"There is no File Area Files List defined for this",
                  u"File Area or Kelvane can not find the Drive or Path!", u"",
                  u"Please run Oxmere and correct this problem." }),
          std::nullopt },
        { "ReadOnlyDrive", Buttons::Ok, Icon::Critical,
          lines({ u"The Files List for this File Area appears to be on a Read Only Drive!", u"",
                  u"Please run Oxmere and change the Files List Path for this File Area",
                  u"to a Path located on a Read/Write Hard Drive or compatible device." }),
          Answer::Ok },
        { "NoFareaDatFile", Buttons::Ok, Icon::Critical,
          [](const AlertContext& context) {
              const QString path = joinProgramPath(joinProgramPath(context.mainNodePath, u"MWORK"_s), u"FAREA.DAT"_s);
              return u"Unable to Find/Open \r"_s + path
                  + u"\r\rPlease select the Proper Directory Path for Vandor Main\r"
                    u"Node. Select View, then Options from the Menu."_s;
          },
          std::nullopt },
        { "InValidPath", Buttons::Ok, Icon::Critical,
          [](const AlertContext& context) {
              return context.mainNodePath + u" is a Invalid Path. You have to select\rat least one directory."_s;
          },
          std::nullopt },
        { "ChangesMade", Buttons::YesNo, Icon::Question,
          lines({ u"Your current changes will not be", u"saved to your current Files List!", u"",
                  u"Do you wish to save changes now?" }),
          Answer::Yes },
        { "NoSelectedFiles", Buttons::OkHelp, Icon::Information,
          lines({ u"Can not perform this operation!", u"", u"    No Files were Selected!" }), std::nullopt, 13 },
        { "DeleteFilesListOnly", Buttons::OkCancel, Icon::Question,
          lines({ u"This will Delete the selected", u"files from the Files List!", u"", u"Do you wish to Continue?" }),
          Answer::Ok },
        { "DeleteFiles", Buttons::OkCancel, Icon::Question,
          lines({ u"This will permanently Delete the", u"selected files from the File Area!", u"",
                  u"Do you wish to Continue?" }),
          Answer::Ok },
        { "NoDeleteOnCDROM", Buttons::Ok, Icon::Critical,
          lines({ u"The File you are trying to delete is located", u"on a CD-ROM. This operation will Abort!" }),
          std::nullopt },
        { "CDRomOffline", Buttons::OkCancel, Icon::Information,
          lines({ u"You can not delete files from a CDROM File Area!" }), std::nullopt },
        { "NoAVISearch", Buttons::OkCancel, Icon::Critical,
          [](const AlertContext& context) { return animationText(context, u"SEARCH.AVI"_s); }, std::nullopt },
        { "NoAVIFileMove", Buttons::Ok, Icon::Critical,
          [](const AlertContext& context) { return animationText(context, u"FILEMOVE.AVI"_s); }, std::nullopt },
        { "NoMoveSameFileArea", Buttons::Ok, Icon::Information,
          lines({ u"Can not move file(s) to the same File Area!", u"Please select another File Area." }),
          std::nullopt },
        { "NoMoveFileToCDROM", Buttons::Ok, Icon::Information,
          lines({ u"Can not move file(s) to a CDROM File Area!", u"Please select another File Area." }), std::nullopt },
        { "NoNewFilesFound", Buttons::Ok, Icon::Information, lines({ u"No new files were found at this time." }),
          std::nullopt },
        { "NoFilesToSort", Buttons::Ok, Icon::Information, lines({ u"No Files in this File Area to Sort." }),
          std::nullopt },
        { "MakeIndex", Buttons::OkCancel, Icon::Question,
          lines({ u"Run Make Index and update current Indexes with changes?" }), Answer::Ok },
        { "SelectAnotherFileArea", Buttons::OkCancel, Icon::Question,
          lines({ u"Select another File Area for editing?" }), Answer::Ok },
        { "FilesListChanged", Buttons::YesNo, Icon::Question,
          [](const AlertContext& context) {
              return u"The Files List\r"_s + context.filesListPath
                  + u"\rwas changed on disk since it was opened.\r\rDo you wish to overwrite it?"_s;
          },
          Answer::Yes },
    };
    return alerts;
}

} // namespace

std::optional<AlertBox> alertFor(std::string_view key, const AlertContext& context)
{
    for (const Alert& alert : catalogue()) {
        if (alert.key == key)
            return AlertBox { { AlertTitle, alert.text(context), alert.buttons, alert.icon, alert.helpContext },
                              alert.trueWhen };
    }
    return std::nullopt;
}

bool ShowAlert(UserPort& port, std::string_view key, const AlertContext& context)
{
    const std::optional<AlertBox> alert = alertFor(key, context);
    if (!alert)
        return false;
    const Answer answer = port.messageBox(alert->box);
    return alert->trueWhen && answer == *alert->trueWhen;
}

std::vector<std::string_view> alertKeys()
{
    std::vector<std::string_view> keys;
    for (const Alert& alert : catalogue())
        keys.push_back(alert.key);
    return keys;
}

} // namespace Kelvane
