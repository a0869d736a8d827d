// Registration of a card's owner, and the validators of the input field.

#include "personalspace/PersonalSpaceWidgetD.hpp"

#include <Bedrock/BGThread.hpp>
#include <Bedrock/FunctionTask.hpp>
#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/TesselServiceAPI.hpp>
#include <Trellis/TextEditWidget.hpp>

#include <QRegExp>

namespace Tavola
{
namespace
{
/// The input of the background thread: copies, so that the thread reads nothing of the widget.
struct RegistrationRequest
{
    unsigned long code;
    QString name;
    QString email;
    Bedrock::IntrusiveWeakPtr<PersonalSpaceWidget> widget;
};

/// Null without an application or without a service. Any thread.
std::shared_ptr<TesselServiceAPI> markerService()
{
    const std::shared_ptr<Tavola> application = Tavola::instance();
    return application ? application->services()->tesselService() : nullptr;
}
}

void PersonalSpaceWidget::D::setEmailValidator()
{
    inputField->editor()->clear();
    // Top-level domains of two to four letters are intended.
    const QRegExp address(QString::fromUtf8("[A-Za-z0-9._%+-]+@[A-Za-z0-9.-]+\\.[A-Za-z]{2,4}"), Qt::CaseSensitive,
                          QRegExp::RegExp);
    inputField->setValidator([address](const QString& text) { return QRegExp(address).exactMatch(text.simplified()); });
}

void PersonalSpaceWidget::D::setNameValidator()
{
    inputField->editor()->clear();
    inputField->setValidator([](const QString& text) { return !text.simplified().isEmpty(); });
}

void PersonalSpaceWidget::D::checkEmailInput()
{
    inputField->validate();
    if (!inputField->isValid()) {
        inputField->showErrors(true);
        return;
    }
    userEmail.setValue(inputField->text(), Facet::kUserLayer);
    emailContents();
    inputField->reset();
}

void PersonalSpaceWidget::D::checkNameInput()
{
    inputField->editor()->endEditing();
    inputField->validate();
    if (!inputField->isValid()) {
        inputField->showErrors(true);
        return;
    }
    userName.setValue(inputField->text(), Facet::kUserLayer);
    host.addCSSClass("registering");
    inputField->reset();
    registerUser();
}

void PersonalSpaceWidget::D::registerUser()
{
    const RegistrationRequest request{code, userName.value(), userEmail.value(),
                                      Bedrock::IntrusiveWeakPtr<PersonalSpaceWidget>(&host)};
    Bedrock::BGThread::instance()->addTask(std::make_shared<Bedrock::FunctionTask>([request](Bedrock::Task& task) {
        // First of all, since an unfinished task would be run again.
        task.setFinished();
        // Only the service is kept alive for the call: the main thread may destroy the application and its widgets meanwhile.
        const std::shared_ptr<TesselServiceAPI> service = markerService();
        // Without a marker service there is no answer: the space shows "registering" until the owner cancels.
        if (!service)
            return;
        bool registered = false;
        // An exception is shown like a refusal, so that the space does not stay "registering".
        Bedrock::guarded([&] { registered = service->registerPersonalMarker(request.code, request.name, request.email); },
                         [&](const char* reason) {
                             Bedrock::Trace::error(
                                 "PersonalSpaceWidget::registerUser # Failed to register the owner of card %llu (%s)",
                                 static_cast<unsigned long long>(request.code), reason);
                         });
        Facet::Node::invokeAfterUpdate([weak = request.widget, registered] {
            const auto widget = weak.lock();
            if (!widget)
                return;
            if (registered)
                widget->d->registerSuccessful();
            else
                widget->d->registerFailed();
        });
    }));
}

void PersonalSpaceWidget::D::registerSuccessful()
{
    host.removeCSSClass("registering");
    host.addCSSClass("successfully-registered");
}

void PersonalSpaceWidget::D::registerFailed()
{
    host.removeCSSClass("registering");
    host.addCSSClass("registering-failed");
}
}
