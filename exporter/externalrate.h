#pragma once

// The rate at which the external-data collector writes every channel: all channels are
// brought to one common rate, chosen by the fastest of them. Header-only, so that a host can
// size an export's external data by the same rule without linking the exporter.

// The highest rate the collector writes at, whatever the channels.
inline constexpr int MaxExternalOutputRate = 4800;

// Samples per second of the resampled channels when the fastest channel runs at
// `fastestChannelRate` samples per second.
constexpr int externalOutputRate(int fastestChannelRate)
{
    return fastestChannelRate <= 3000 ? 2400 : MaxExternalOutputRate;
}
