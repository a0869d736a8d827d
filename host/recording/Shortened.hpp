#pragma once

#include <Bedrock/Arrival.hpp>

#include <QString>

/// What stands in a recording itself in place of what its private half has (Tactile::DatagramRecorder). Names, addresses, tokens
/// and keys are shortened as in the log; a replay goes on with the shortened words.
namespace Host::Shortened
{
/// People as PeopleFile writes them, with the first letter of each name and the domain of each address. Codes, kinds, content
/// keys and languages stay, so that cards open the same things.
[[nodiscard]] QString people(const QString& text);

/// The answer of a server, of the outbox or of the registry of people. Pictures that were loaded stand for the address of a page:
/// the recording has none of them.
[[nodiscard]] Bedrock::Arrival arrival(const Bedrock::Arrival& exact);
}
