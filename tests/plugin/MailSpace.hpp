#pragma once

#include "EmailSupport.hpp"
#include "LogCapture.hpp"
#include "OpenSpace.hpp"

#include <memory>
#include <string>

namespace PluginTest
{
/// Ann's mail will fail with this text, which is logged.
inline void expectFailedMail(const std::string& text)
{
    TestSupport::expectError("PersonalSpaceWidget::emailContents # Failed to send email to ann@example.org (" + text + ")");
}

/// Ann's space, and an e-mail service that answers when the test says so.
struct Mail : OpenSpace
{
    std::shared_ptr<TestSupport::FakeEmailService> service = addEmailService<TestSupport::FakeEmailService>(host);
    AnswerAtEnd answerAtEnd{service};

    explicit Mail(bool withCode = true) : OpenSpace(withCode)
    {
        widget->setProperties({"Ann", "ann@example.org", ""});
        service->holdAnswers(true);
    }
    void succeed()
    {
        service->answer(0, {true, {}});
        host.frame();
    }
};

/// Ann's mail with one item, on its way.
struct SentMail : Mail
{
    SentMail()
    {
        addItem("http://one", 71);
        tapEnvelope();
    }
};
}
