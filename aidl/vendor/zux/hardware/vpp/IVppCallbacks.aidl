// Events and returned buffers of a session, sent from the service to its client.
package vendor.zux.hardware.vpp;

import vendor.zux.hardware.vpp.FlushDone;
import vendor.zux.hardware.vpp.ReconfigDone;
import vendor.zux.hardware.vpp.VppBuffer;
import vendor.zux.hardware.vpp.VppError;

@VintfStability
interface IVppCallbacks {
    // End of stream has passed through the session: every buffer before it has been returned.
    VppError eventDrainDone();
    // The session met an error it cannot recover from by itself (the reference service never
    // sends it).
    VppError eventError(VppError error);
    // A port's flush is complete.
    VppError eventFlushDone(in FlushDone flushDone);
    // A reconfiguration has taken effect or was refused.
    VppError eventReconfigDone(in ReconfigDone reconfigDone);
    // An input buffer is no longer used by the session.
    VppError inputBufferDone(in VppBuffer buffer);
    // An output buffer has been filled (or returned unfilled by a flush).
    VppError outputBufferDone(in VppBuffer buffer);
}
