// The same work done with OpenCV: a 4K frame of 8 bits. One channel is enlarged, the rest is copied, on two
// threads.
#pragma once

namespace bench {

// Either OpenCV runs its functions on two threads where it can, or each of our two threads calls them for half of
// the rows.
enum class Split { byOpenCv, byRows };

// The amount is at least 0.
void PeerLinear(Split split,
                double amount);  // extract the channel, resize its middle to the nearest pixel, insert it
void PeerSquare(Split split, double amount);  // extract, remap with the map built for this frame, insert

}  // namespace bench
