#include "support/ScriptedPort.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Kelvane::Testing {

namespace {

std::string describe(const MessageBox& box)
{
    QString text = box.text;
    text.replace(u'\r', u'|');
    return (box.title + u": "_s + text).toStdString();
}

} // namespace

ScriptedPort::~ScriptedPort()
{
    for (const Expected& expected : m_expected)
        ADD_FAILURE() << "an expected box never came: " << expected.description.toStdString();
}

ScriptedPort& ScriptedPort::expect(const MessageBox& box, Answer answer)
{
    m_expected.push_back(
        { [box](const MessageBox& shown) { return shown == box; }, QString::fromStdString(describe(box)), answer });
    return *this;
}

ScriptedPort& ScriptedPort::expectAlert(std::string_view key, Answer answer, const AlertContext& context)
{
    const std::optional<AlertBox> alert = alertFor(key, context);
    if (!alert) {
        ADD_FAILURE() << "no alert is called " << key;
        return *this;
    }
    return expect(alert->box, answer);
}

ScriptedPort& ScriptedPort::expectError(std::string_view procedure, Answer answer)
{
    const QString ending = u"\rProcedure Name: "_s + QString::fromUtf8(procedure);
    m_expected.push_back({ [ending](const MessageBox& shown) {
                              return shown.title == u"Kelvane Error Alert!"_s && shown.text.endsWith(ending)
                                  && shown.buttons == Buttons::RetryCancel && shown.icon == Icon::Critical;
                          },
                           u"error box of "_s + QString::fromUtf8(procedure), answer });
    return *this;
}

ScriptedPort& ScriptedPort::expectContaining(const QString& title, const QString& part, Answer answer)
{
    m_expected.push_back(
        { [title, part](const MessageBox& shown) { return shown.title == title && shown.text.contains(part); },
          title + u" containing "_s + part, answer });
    return *this;
}

Answer ScriptedPort::messageBox(const MessageBox& box)
{
    m_shown.push_back(box);
    if (m_expected.empty()) {
        ADD_FAILURE() << "an unexpected box: " << describe(box);
        return safeAnswer(box.buttons);
    }
    Expected expected = std::move(m_expected.front());
    m_expected.pop_front();
    if (!expected.matches(box)) {
        ADD_FAILURE() << "expected " << expected.description.toStdString() << "\n     but got " << describe(box);
        return safeAnswer(box.buttons);
    }
    return expected.answer;
}

QString ScriptedPort::browseForFolder(const QString& prompt)
{
    Q_UNUSED(prompt);
    return m_folder;
}

} // namespace Kelvane::Testing
