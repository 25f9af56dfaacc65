#pragma once

/// Tells "this file is no media" from "there was no memory to find out".
namespace krxmedia::memory {

/// True when memory was refused since the last call.
bool wasRefused();

} // namespace krxmedia::memory
