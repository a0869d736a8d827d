#pragma once

#include <Bedrock/IntrusivePtr.hpp>
#include <Tavola/FileRepresentation.hpp>

#include <memory>

namespace Tavola
{
/// The file representation of a widget that does not implement one itself: the host describes the widget and takes its snapshot.
/// Keeps the widget alive. Main thread only.
class DefaultFileRepresentation final : public FileRepresentation
{
public:
    explicit DefaultFileRepresentation(Bedrock::IntrusivePtr<Trellis::Widget> widget);
    ~DefaultFileRepresentation() override;

    /// Already completed, with the host's record of the widget.
    [[nodiscard]] folly::Future<FileData> files() override;
    /// The path of a snapshot of the widget, at most 500 pixels wide and high. The host completes it, on a thread of its choice.
    [[nodiscard]] folly::Future<QString> previewFileName() override;

private:
    Bedrock::IntrusivePtr<Trellis::Widget> m_widget;
};

/// The representation of a widget: the widget itself where it implements the interface (the pointer then owns nothing),
/// otherwise a new DefaultFileRepresentation. Keep it until the futures that it returned are completed.
[[nodiscard]] std::shared_ptr<FileRepresentation> fileRepresentationOf(const Bedrock::IntrusivePtr<Trellis::Widget>& widget);
}
