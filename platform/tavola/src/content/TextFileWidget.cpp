#include <Tavola/TextFileWidget.hpp>

#include <Bedrock/BGThread.hpp>
#include <Bedrock/FunctionTask.hpp>
#include <Bedrock/LocalPath.hpp>
#include <Bedrock/Trace.hpp>

#include <QFile>
#include <QTextCodec>

namespace Tavola
{
namespace
{
const Facet::EventName kTextLoaded("text-loaded");

/// Any thread. Empty, with the reason in `error`, for a file that cannot be read.
QString readText(const QString& path, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return {};
    }
    const QByteArray bytes = file.read(TextFileWidget::kMostBytes);
    QTextCodec* const utf8 = QTextCodec::codecForName("UTF-8");
    return QTextCodec::codecForUtfText(bytes, utf8)->toUnicode(bytes);
}
}

TextFileWidget::TextFileWidget(Trellis::Widget* parent) : Trellis::TextWidget(parent)
{
    eventAddOut(kTextLoaded);
}

TextFileWidget::~TextFileWidget() = default;

void TextFileWidget::attributeChanged(Facet::Attribute& attribute)
{
    TextWidget::attributeChanged(attribute);
    if (&attribute == &m_source)
        readSource();
}

void TextFileWidget::readSource()
{
    ++m_generation;
    const QString source = m_source.value();
    if (source.isEmpty())
        return;
    const QString path = Bedrock::localPath(source);
    auto read = [path, weak = Bedrock::IntrusiveWeakPtr<TextFileWidget>(this), generation = m_generation](Bedrock::Task& task) {
        task.setFinished();
        QString error;
        QString text = readText(path, error);
        Facet::Node::invokeAfterUpdate([weak, generation, path, error, text = std::move(text)] {
            const auto widget = weak.lock();
            if (!widget || widget->m_generation != generation)
                return;
            if (!error.isEmpty()) {
                Bedrock::Trace::warning("TextFileWidget # Cannot read %s (%s); the text stays as it is", qUtf8Printable(path),
                                        qUtf8Printable(error));
                return;
            }
            widget->setText(text);
            widget->eventSend(kTextLoaded);
        });
    };
    Bedrock::BGThread::instance()->addTask(std::make_shared<Bedrock::FunctionTask>(std::move(read)));
}
}
