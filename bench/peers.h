// The same work by OpenCV: 4K, 8 bits, one channel enlarged and the rest copied, two threads.
#pragma once

namespace bench {

void PeerLinear();  // extract the channel, resize its middle to the nearest pixel, insert it
void PeerSquare();  // extract, remap with the map built for this frame, insert

}  // namespace bench
