#pragma once

#include "EmailSupport.hpp"
#include "OpenSpace.hpp"

#include <doctest/doctest.h>

#include <memory>

namespace PluginTest
{
/// A space whose input asks for an e-mail address.
struct AddressForm : OpenSpace
{
    std::shared_ptr<TestSupport::FakeEmailService> service = addEmailService<TestSupport::FakeEmailService>(host);
    AnswerAtEnd answerAtEnd{service};
    AddressForm()
    {
        service->holdAnswers(true);
        tapEnvelope();
    }
};

/// A space whose input asks for a name, as it does after an e-mail was sent.
struct NameForm : OpenSpace
{
    NameForm()
    {
        const auto service = addEmailService<TestSupport::FakeEmailService>(host);
        widget->setProperties({"", "ann@example.org", ""});
        tapEnvelope();
        host.frame();
        tapCancel();
        REQUIRE(service->sent().size() == 1);
    }
};

// Each runs the test once for every way in which visitors confirm what they have written.
inline void confirmAddress(OpenSpace& space)
{
    SUBCASE("by the envelope")
    {
        space.tapEnvelope();
    }
    SUBCASE("by enter")
    {
        space.finishEditing();
    }
}
inline void confirmName(OpenSpace& space)
{
    SUBCASE("by the button")
    {
        space.tapSave();
    }
    SUBCASE("by enter")
    {
        space.finishEditing();
    }
}
}
