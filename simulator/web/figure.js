// One arm in its room: its bodies, frames, gripper and table, its ghost, and the trail of its tool.
import * as THREE from './three/build/three.module.js';
import { buildArm, buildAxes, buildGripper, gripperLength, materials } from './bodies.js';
import { buildScale, Ghost, Label, nameAxes, tint, turn } from './marks.js';
import { Trail } from './trail.js';

export class Figure {
  group = new THREE.Group(); // stands where its base does
  ledTool = null; // where it is in the room, while it may be led by hand
  spoken = ''; // where the flange is in the base, m
  trail = new Trail();
  #shown = '';

  /** @param name stands at the base if there are several */
  constructor(about, name) {
    this.arm = new THREE.Group();
    const { joints, flange } = buildArm(this.arm, about);
    this.joints = joints;
    this.flange = flange;
    this.size = new THREE.Vector3(...about.flange).length() / 0.85;
    this.gripper = buildGripper(flange);
    this.gripper.group.visible = about.simulated; // else nobody knows how it stands
    this.tool = buildAxes(0.12);
    nameAxes(this.tool, 0.12, 'tool');
    flange.add(this.tool);
    this.ghost = new Ghost(about);

    const glass = { transparent: true, opacity: 0.16, side: THREE.DoubleSide, depthWrite: false };
    this.table = new THREE.Mesh(new THREE.PlaneBufferGeometry(1.2, 1.2), new THREE.MeshBasicMaterial(glass));
    this.table.material.name = 'joint';
    this.base = buildAxes(0.2);
    this.work = buildAxes(0.15);
    nameAxes(this.base, 0.2, 'base', [0.08, -0.14, 0]);
    nameAxes(this.work, 0.15, 'work');
    const through = { transparent: true, depthTest: false };
    this.handle = new THREE.Mesh(new THREE.SphereBufferGeometry(0.022, 32, 24),
                                 new THREE.MeshBasicMaterial({ ...through, opacity: 0.7, name: 'accent' }));
    this.push = new THREE.ArrowHelper();
    for (const part of [this.push.line, this.push.cone]) {
      part.material.setValues({ ...through, name: 'accent' });
      part.renderOrder = 2;
    }
    this.scale = buildScale();
    this.table.visible = this.work.visible = this.handle.visible = this.push.visible = false;
    this.group.add(this.arm, this.table, this.base, this.work, this.handle, this.push, this.trail.line, this.ghost.group, this.scale);
    if (name) {
      this.name = new Label(name, 'soft', 0.09);
      this.name.position.set(0.15, 0.15, 0);
      this.group.add(this.name);
    }
  }

  /** It is the one that is worked with, among several. */
  choose(chosen) {
    this.base.visible = this.scale.visible = chosen;
    if (this.name) this.name.colour = chosen ? 'accent' : 'soft';
  }

  /** Returns whether it is drawn otherwise now. @param time s, of the arm */
  show(state, time) {
    const { joints, tool, work, gripper, object, push, table, teaching, planned, jointErrors, limits, power } = state;
    const shown = JSON.stringify([joints, tool, work, gripper.opening, object, push, table, teaching, planned, jointErrors,
                                  limits, power]);
    if (shown === this.#shown) return false;
    this.#shown = shown;

    turn(this.joints, joints);
    tint(this.joints, state, materials);
    this.ghost.show(state);
    const place = (node, [x, y, z, ...turn]) => {
      node.position.set(x, y, z);
      node.quaternion.set(...turn);
    };
    place(this.tool, tool);
    place(this.work, work);
    this.work.visible = work.some((value, i) => i < 6 && value !== 0); // else it is the base
    this.gripper.show(gripper.opening, object && object.width, tool[2] < gripperLength);
    this.table.visible = table !== null;
    this.table.position.z = table ?? 0;
    this.group.updateMatrixWorld(true);

    const inBase = (node) => new THREE.Vector3().setFromMatrixPosition(node.matrixWorld).sub(this.group.position);
    const flange = inBase(this.flange);
    const tip = inBase(this.tool);
    this.spoken = flange.toArray().map((value) => value.toFixed(4)).join(' ');
    this.#showPush(new THREE.Vector3(...push), flange);
    this.ledTool = teaching ? tip.clone().add(this.group.position) : null;
    this.handle.visible = teaching;
    this.handle.position.copy(tip);
    this.trail.lengthen(tip, time);
    return true;
  }

  #showPush(force, at) {
    const newtons = force.length();
    this.push.visible = newtons > 0;
    if (newtons === 0) return;
    const length = 0.12 + newtons / 1000;
    force.normalize();
    this.push.setDirection(force);
    this.push.setLength(length, 0.06, 0.035);
    this.push.position.copy(at).addScaledVector(force, -length);
  }
}
