#pragma once

#include <Bedrock/IntrusivePtr.hpp>
#include <Tavola/FileRepresentation.hpp>

#include <memory>

namespace Tavola
{
/// Turns a widget that knows nothing of files into files: the host describes and photographs it. Keeps the widget alive.
/// Main thread only.
class DefaultFileRepresentation final : public FileRepresentation
{
public:
    explicit DefaultFileRepresentation(Bedrock::IntrusivePtr<Trellis::Widget> widget);
    ~DefaultFileRepresentation() override;

    /// Completed already, with what the host says of the widget.
    [[nodiscard]] folly::Future<FileData> files() override;
    /// A snapshot of the widget. The host completes it, on a thread of its choice.
    [[nodiscard]] folly::Future<QString> previewFileName() override;

private:
    Bedrock::IntrusivePtr<Trellis::Widget> m_widget;
};

/// The representation of a widget: the widget itself where it is one (the pointer then owns nothing), otherwise a
/// DefaultFileRepresentation. To be kept until the futures that it gave are completed.
[[nodiscard]] std::shared_ptr<FileRepresentation> fileRepresentationOf(const Bedrock::IntrusivePtr<Trellis::Widget>& widget);
}
