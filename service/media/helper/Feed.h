#pragma once

namespace krxmedia {

/// Hands on what is in one file, or in one picture after the other, to a program that makes media of it: as a
/// NUT stream, written to descriptor 4, which has the streams' packets and times as they are. So that program
/// never sees the file itself, and nothing that the file names. It has the first stream of pictures that is
/// no cover, and all of sound, in their order. What is to be presented begins at kLead.
///
/// The files are asked for over the socket on descriptor 3, one message each: a question is one byte, an
/// answer is a Handed with the file attached, or without one when there are no more. The last message is a
/// report, of one line for each stream:
///
///     video|audio PACKETS BEGIN END
///
/// with the times in seconds from the start of what is presented, and "damaged" as a line of its own when
/// some of it could not be read.
namespace feed {

constexpr int kLead = 10; ///< seconds, so that what precedes the start needs no negative time

/// One file. \return an exit code.
int medium();
/// Pictures, \a numerator / \a denominator in each second. \return an exit code.
int pictures(int numerator, int denominator);

} // namespace feed

} // namespace krxmedia
