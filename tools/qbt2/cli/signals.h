#pragma once

/// How the program handles signals. To be called once, before any thread is started.
namespace qbt2::tool {

/// SIGINT, SIGTERM and SIGHUP end the program as they do by default, but without leaving a
/// temporary file behind; one that the caller ignores (nohup) stays ignored. SIGPIPE and
/// SIGXFSZ are ignored, so that a closed pipe and the limit of a file's size show as failing
/// writes.
void set_up_signals();

}  // namespace qbt2::tool
