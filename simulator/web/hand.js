// The operator's hand: takes hold of the tool with the pointer and leads it in the plane of the screen.
import { Plane, Raycaster, Vector3 } from './three/build/three.module.js';

const reach = 70; // px around the tool within which the hand takes hold
const interval = 50; // ms between two places to which it leads

/**
 * @param view has a camera, its orbit, and where the tool is while it may be led
 * @param lead called with the place, metres
 */
export function followHand(canvas, view, lead) {
  const plane = new Plane();
  const ray = new Raycaster();
  const hold = new Vector3(); // from where the tool was taken to the tool
  let pointer = null;
  let sent = 0;

  const fromTool = ({ offsetX, offsetY }) => {
    const { x, y } = view.ledTool.clone().project(view.camera);
    return Math.hypot(offsetX - ((x + 1) / 2) * canvas.clientWidth, offsetY - ((1 - y) / 2) * canvas.clientHeight);
  };

  /** The pointer's place in the plane. */
  const place = ({ offsetX, offsetY }) => {
    const [x, y] = [(offsetX / canvas.clientWidth) * 2 - 1, 1 - (offsetY / canvas.clientHeight) * 2];
    ray.setFromCamera({ x, y }, view.camera);
    return ray.ray.intersectPlane(plane, new Vector3());
  };

  canvas.addEventListener('pointerdown', (event) => {
    if (!view.ledTool || fromTool(event) > reach) return;
    pointer = event.pointerId;
    canvas.setPointerCapture(pointer);
    view.orbit.enabled = false;
    plane.setFromNormalAndCoplanarPoint(view.camera.getWorldDirection(new Vector3()), view.ledTool);
    hold.copy(view.ledTool).sub(place(event));
  }, true);

  canvas.addEventListener('pointermove', (event) => {
    if (event.pointerId !== pointer || performance.now() - sent < interval) return;
    sent = performance.now();
    const to = place(event);
    if (to) lead(to.add(hold).toArray());
  });

  for (const type of ['pointerup', 'pointercancel'])
    canvas.addEventListener(type, (event) => {
      if (event.pointerId !== pointer) return;
      pointer = null;
      view.orbit.enabled = true;
    });
}
