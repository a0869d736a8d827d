#pragma once

#include <Bedrock/Export.hpp>

#include <QString>

namespace Storage
{
/// Why a job did not come about. A plain record.
struct TAVOLA_EXPORT Failure
{
    enum class Kind {
        Away,   ///< the server was not reached or did not answer in time; the job was tried again until its deadline
        Refused ///< a statement, the file or the server's settings are wrong: trying again does not help
    };
    Kind kind = Kind::Refused;
    QString reason; ///< in the database's words, on one line
    QString remedy; ///< what an operator can do: a part of a sentence

    /// Reason and remedy, as a part of a sentence.
    [[nodiscard]] QString text() const;
};
}
