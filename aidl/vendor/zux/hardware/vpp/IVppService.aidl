// The video post-processing service: makes sessions.
package vendor.zux.hardware.vpp;

import vendor.zux.hardware.vpp.IVppSession;

@VintfStability
interface IVppService {
    // A new session; flags is 0.
    IVppSession getNewVppSession(int flags);
}
