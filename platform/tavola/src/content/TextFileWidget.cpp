#include <Tavola/TextFileWidget.hpp>

#include "content/TextFile.hpp"

#include <Bedrock/BGThread.hpp>
#include <Bedrock/FunctionTask.hpp>
#include <Bedrock/LocalPath.hpp>
#include <Bedrock/Trace.hpp>
#include <Tavola/Tavola.hpp>

#include <QSet>

namespace Tavola
{
namespace
{
const Facet::EventName kTextLoaded("text-loaded");

/// The complaints that were logged: visitors open the same files all day.
struct LoggedComplaints
{
    QSet<QString> texts;
};

void complain(const QString& path, const QString& complaint)
{
    const QString line = QStringLiteral("%1: %2").arg(path, complaint);
    if (const auto application = Tavola::instance()) {
        QSet<QString>& logged = application->part<LoggedComplaints>().texts;
        if (logged.contains(line))
            return;
        logged.insert(line);
    }
    Bedrock::Trace::warning("TextFileWidget # %s", qUtf8Printable(line));
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

void TextFileWidget::show(const QString& path, const TextFile& file)
{
    if (file.state == TextFile::State::Unreadable) {
        Bedrock::Trace::warning("TextFileWidget # Cannot read %s (%s); the text stays as it is", qUtf8Printable(path),
                                qUtf8Printable(file.complaint));
        return;
    }
    if (!file.complaint.isEmpty())
        complain(path, file.complaint);
    QString shown = file.text;
    if (file.state == TextFile::State::NoText)
        shown = m_noTextNote.value();
    else if (file.state == TextFile::State::Cut)
        shown += QStringLiteral("\n\n")
            + QString(m_cutNote.value()).arg(TextFile::kibibytes(file.shownBytes), TextFile::kibibytes(file.fileBytes));
    setPseudoClass("failed", file.state == TextFile::State::NoText);
    setText(shown);
    eventSend(kTextLoaded);
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
        Facet::Node::invokeAfterUpdate([weak, generation, path, file = TextFile::read(path, kMostBytes)] {
            const auto widget = weak.lock();
            if (widget && widget->m_generation == generation)
                widget->show(path, file);
        });
    };
    Bedrock::BGThread::instance()->addTask(std::make_shared<Bedrock::FunctionTask>(std::move(read)));
}
}
