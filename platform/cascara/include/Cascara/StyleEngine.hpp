#pragma once

#include <Bedrock/Export.hpp>
#include <Cascara/FontFace.hpp>
#include <Cascara/Media.hpp>

#include <QByteArray>
#include <QString>

#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

namespace Cascara
{
class Styleable;

/// Applies style sheets to the style tree. One for the process, main thread only.
///
/// Syntax as CSS Syntax Module Level 3 has it; selectors of CSS Selectors Level 4 as docs/presentations.md lists them,
/// with the specificity and order of CSS Cascading and Inheritance (one origin). Variables and the attributes of a text's look
/// are inherited. A declaration sets the attribute of its name on layer 1 and is withdrawn when its rule stops matching. Errors
/// are warnings with file, line and column, and cost one declaration (or one rule whose selector is wrong).
class TAVOLA_EXPORT StyleEngine
{
public:
    [[nodiscard]] static StyleEngine& instance();

    /// While one lives, sheets are added that belong together. Its end logs the warnings about them, those of each sheet in the
    /// order of lines, with the keyframes and variables that none of them has.
    class TAVOLA_EXPORT Batch
    {
    public:
        Batch();
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;
        ~Batch();

    private:
        struct Messages;
        std::unique_ptr<Messages> m_messages;
    };

    /// Adds a sheet after those there are (and, before it, those it imports) and restyles everything. `name` stands in
    /// messages; relative url()s and @imports are resolved against `baseDirectory`.
    void addStyleSheet(const QString& text, const QString& name, const QString& baseDirectory = QString());
    /// As above from a UTF-8 file. False, with a warning, when it cannot be read.
    bool loadStyleSheet(const QString& path);
    /// Whether sheets that are added from then on are compared with StyleVocabulary: names of types, states and attributes that
    /// no node can have are warnings when the sheet is read. Off by default, for programs that declare no types.
    void setChecksNames(bool on);
    /// How large a pixel is, for lengths in `mm` in sheets that are added from then on. 0.55 mm as long as it is not set.
    void setPixelPitch(double mmPerPixel);
    /// What `@media` asks for. Restyles everything when some condition holds now and did not before, or the other way round.
    void setMedia(const Media& media);
    [[nodiscard]] const Media& media() const noexcept;
    /// What the sheets say of fonts, in their order.
    [[nodiscard]] const std::vector<FontFace>& fontFaces() const noexcept;
    /// Called when that has changed, before nodes are styled by the sheet. One at a time; empty for none.
    void setFontFaceListener(std::function<void()> listener);
    /// Warns of a face, at its place in its sheet.
    static void warnOfFontFace(const FontFace& face, const QString& text);
    /// Takes all sheets away and withdraws what they set.
    void clearStyleSheets();

    /// Styles attributes that nodes got after they were styled, and warns of names that no attribute turned out to have. A
    /// node is styled while its constructors run, when attributes of its subclasses are not there yet: `updateStyle` makes up
    /// for it at once, and this call, once a frame, for nodes whose maker does not call it. Not from inside a constructor.
    void finishStyling();
    /// Whether `finishStyling` has something to do.
    [[nodiscard]] bool isStylingUnfinished() const noexcept;

    /// A frame later: transitions and keyframe animations move on. What a sheet gives a node in the frame in which it was made,
    /// or came to its parent, does not move, nor does what changes because of a sheet. To be called once a frame, before anything
    /// changes styles.
    void advance(double seconds);
    /// Begins the keyframe animations of nodes that have come into the tree (below a node that is `:root`), or of which a rule
    /// named them, since the last call. To be called once a frame, when the layout is up to date: what code reads and writes
    /// before is at rest.
    void beginAnimations();
    /// Whether a transition or an animation is under way or about to begin, which changes values in the next frame.
    [[nodiscard]] bool isMoving() const noexcept;
    /// Ends the transitions and animations of these attributes of the node: the value that shows becomes the run-time value.
    void hold(const Styleable& styleable, std::initializer_list<const char*> attributes);

    /// A declaration that matches a node, in the order of the cascade (the last one of a name wins).
    struct MatchedDeclaration
    {
        QByteArray attribute;
        QString value;
        QString selector;
        QString sheet;
        int line;
        int column;
    };
    [[nodiscard]] std::vector<MatchedDeclaration> matchedDeclarations(const Styleable& styleable) const;
    /// Where a sheet first names a local file in `url()`, for messages: "gallery.css:12:5", or empty. Reads all sheets.
    [[nodiscard]] QString placeOfFile(const QString& path) const;

    /// Work done since the process began; for tests of precision.
    struct Counters
    {
        long nodesRestyled = 0;
        long selectorsTested = 0;
    };
    [[nodiscard]] Counters counters() const noexcept;

    struct Private;

private:
    StyleEngine();
    ~StyleEngine();

    std::unique_ptr<Private> d;
};
}
