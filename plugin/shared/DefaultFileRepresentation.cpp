#include "shared/DefaultFileRepresentation.hpp"

#include <Trellis/Widget.hpp>

namespace Tavola
{
namespace
{
constexpr int kSnapshotSize = 500;
}

DefaultFileRepresentation::DefaultFileRepresentation(Bedrock::IntrusivePtr<Trellis::Widget> widget) : m_widget(std::move(widget))
{
}

DefaultFileRepresentation::~DefaultFileRepresentation() = default;

folly::Future<FileRepresentation::FileData> DefaultFileRepresentation::files()
{
    return folly::makeFuture(FileRepresentation::widgetData(*m_widget));
}

folly::Future<QString> DefaultFileRepresentation::previewFileName()
{
    return FileRepresentation::takeWidgetSnapshot(*m_widget, QString(), kSnapshotSize);
}

std::shared_ptr<FileRepresentation> fileRepresentationOf(const Bedrock::IntrusivePtr<Trellis::Widget>& widget)
{
    if (auto* own = dynamic_cast<FileRepresentation*>(widget.get()))
        return {std::shared_ptr<void>(), own};
    return std::make_shared<DefaultFileRepresentation>(widget);
}
}
