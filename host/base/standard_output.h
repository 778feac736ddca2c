#pragma once

/// The standard output of the process, kept apart for data. Not thread-safe: to be called before
/// any thread is started and any output opened.
namespace qbt2 {

/// Gives the data a descriptor of its own and points descriptor 1 at standard error, so that what a
/// library prints does not end up among the rows. Does nothing the second time.
void separate_standard_output();

/// Where data for the standard output go: descriptor 1, or the one of separate_standard_output().
int standard_output_descriptor();

}  // namespace qbt2
