#pragma once
/// \file
/// Marks what the libraries of this project show to their users; all else is hidden.

#define QUENDOKIT_EXPORT [[gnu::visibility("default")]]
