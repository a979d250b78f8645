#pragma once

/// @file
/// The MFC value types of namespace `kvtmfc`, all of them.
