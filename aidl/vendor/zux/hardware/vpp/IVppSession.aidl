// One video post-processing session. Port 0 is the input port, port 1 the output port.
// States: created -> initialised (init) -> opened (open) -> closed (close) -> terminated (term).
// Parameters and controls are set before open; controls may also change while open.
// The order of the methods fixes their transaction codes and must not change.
package vendor.zux.hardware.vpp;

import vendor.zux.hardware.vpp.IVppCallbacks;
import vendor.zux.hardware.vpp.VppBuffer;
import vendor.zux.hardware.vpp.VppBufferRequirements;
import vendor.zux.hardware.vpp.VppCtrlFrc;
import vendor.zux.hardware.vpp.VppError;
import vendor.zux.hardware.vpp.VppPortParam;
import vendor.zux.hardware.vpp.VppStats;

@VintfStability
interface IVppSession {
    // 0. Stops processing; every buffer still held is returned first.
    VppError close();
    // 1. Processes everything queued as if end of stream had been queued on the input port; needs
    // an output buffer for the last (possibly empty) flagged output.
    VppError drain();
    // 2. Returns every buffer held on the port (outputs unfilled), then sends eventFlushDone for it.
    // Flushing the input port also drops in-between frames not yet written.
    VppError flush(int port);
    // 3. What the port needs of its buffers under its current parameters.
    VppError getBufferRequirements(int port, out VppBufferRequirements requirements);
    // 4. Registers the callbacks; flags is 0.
    VppError init(int flags, IVppCallbacks callbacks);
    // 5. Starts processing with the parameters and controls set so far.
    VppError open();
    // 6. Queues a buffer on a port.
    VppError queueBuf(int port, in VppBuffer buffer);
    // 7. The frame-rate conversion control in force.
    VppError getCtrlFrc(out VppCtrlFrc ctrl);
    // 8. The mode set with setMode.
    VppError getMode(out int mode);
    // 9. The parameters of a port.
    VppError getParameter(int port, out VppPortParam param);
    // 10. The session's state: 0 created, 1 initialised, 2 opened, 3 closed, 4 terminated. Still
    // answers after term; every other call after term answers VPP_ERR_STATE.
    VppError getState(out int state);
    // 11. Counters since open or since resetStats.
    VppError getStats(out VppStats stats);
    // 12. New port parameters while open; answered by eventReconfigDone once the buffers queued
    // under the old parameters have been returned.
    VppError reconfigure(in VppPortParam inputParam, in VppPortParam outputParam);
    // 13. Sets every counter of getStats to 0.
    VppError resetStats();
    // 14. Frame-rate conversion control.
    VppError setCtrlFrc(in VppCtrlFrc ctrl);
    // 15. Diagnostic flags of the session's own logging; 0 is quiet.
    VppError setDebugFlags(int flags);
    // 16. Nominal input frame rate, used to space output timestamps when inputs carry none.
    VppError setFrameRate(int numerator, int denominator);
    // 17. Largest number of buffers the session holds on a port at once; 0 is unlimited.
    VppError setMaxQueuedBuffers(int port, int count);
    // 18. A name for the session in the service's logs.
    VppError setName(String name);
    // 19. Processing mode: 0 bypass (frames pass through unconverted), 1 manual and 2 automatic
    // (controls take effect as set; the two behave alike in the reference service). Default 2.
    VppError setMode(int mode);
    // 20. Geometry and format of a port; before open.
    VppError setParameter(int port, in VppPortParam param);
    // 21. Scheduling priority of the session's worker: 0 normal, 1 high.
    VppError setPriority(int priority);
    // 22. How output timestamps are made: 0 spaced evenly between inputs, 1 copied from the
    // earlier input.
    VppError setTimestampMode(int mode);
    // 23. Whether input frames are copied to the output unchanged alongside interpolated ones
    // (1, the default) or only interpolated frames are produced (0).
    VppError setPassThrough(int enable);
    // 24. Checks that the session is alive and answering.
    VppError ping();
    // 25. Releases the session; no further calls.
    void term();
}
