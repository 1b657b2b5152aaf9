// The same work by OpenCV: 4K, 8 bits, one channel enlarged and the rest copied, two threads.
#pragma once

namespace bench {

// OpenCV runs its functions on two threads itself, where it can; or each thread calls them for half of the rows.
enum class Split { byOpenCv, byRows };

void PeerLinear(Split split);  // extract the channel, resize its middle to the nearest pixel, insert it
void PeerSquare(Split split);  // extract, remap with the map built for this frame, insert

}  // namespace bench
