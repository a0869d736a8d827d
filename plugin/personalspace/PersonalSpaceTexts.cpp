// The texts of a personal space about its owner (greeting, information, user page), and the pseudo-classes for unknown data.

#include "personalspace/PersonalSpaceWidgetD.hpp"
#include "shared/Placeholder.hpp"

namespace Tavola
{
void PersonalSpaceWidget::D::updateUnregistered()
{
    host.setPseudoClass("unregistered-user", userName.value().isEmpty());
}

void PersonalSpaceWidget::D::updateNoEmail()
{
    host.setPseudoClass("no-email", userEmail.value().isEmpty());
}

void PersonalSpaceWidget::D::updateNoUserPage()
{
    host.setPseudoClass("no-user-page", userPageUrl.value().isEmpty());
}

void PersonalSpaceWidget::D::updateTitle()
{
    if (!spaceTitle.value().isEmpty())
        title->setText(spaceTitle);
    else if (userName.value().isEmpty())
        title->textAttribute().clearValue(Facet::kUserLayer);
    else
        title->setText(fillPlaceholder(titleFormat.value(), userName.value()));
}

QString PersonalSpaceWidget::D::infoText() const
{
    const bool uploads = collectionMode.value() == CollectionMode::Upload;
    QString text = spaceInfo.value();
    text.replace(QLatin1String("<link>"), uploads ? userPageUrl.value() : userEmail.value());
    text.replace(QLatin1String("<br>"), QLatin1String("\n"));
    return text;
}

void PersonalSpaceWidget::D::updateInfo()
{
    customInfo->setText(infoText());
    host.setPseudoClass("has-custom-info", !spaceInfo.value().isEmpty());
}

void PersonalSpaceWidget::D::userPageChanged()
{
    const PersonalSpaceUploader::UserPage page = contentWidget->contents()->userPage();
    if (!page.url.isEmpty()) {
        host.setPseudoClass("user-page-failed", false);
        userPageLink->setText(page.url);
        if (!page.qrIcon.isEmpty())
            qrIcon->load(page.qrIcon, Trellis::ImageWidget::kNonBlocking);
    } else {
        host.setPseudoClass("user-page-failed", true);
        userPageLink->textAttribute().clearValue(Facet::kUserLayer);
        if (auto* source = qrIcon->attribute("source"))
            source->clearValue(Facet::kUserLayer);
    }
    userPageUrl.setValue(page.url, Facet::kUserLayer);
    updateInfo();
}
}
