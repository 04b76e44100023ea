// Reads recordings by the format's own reader, and compares what it finds with what kx exports: judge.mjs kx file model
// inside|outside [--unfinished]
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { McapIndexedReader, McapStreamReader } from "@mcap/core";
import { parse } from "@foxglove/rosmsg";
import { MessageReader } from "@foxglove/rosmsg2-serialization";

const [kx, file, model, from, state] = process.argv.slice(2);
const bytes = readFileSync(file);
const exported = (form) => execFileSync(kx, ["export", file, form], { encoding: "utf8", stdio: ["ignore", "pipe", "ignore"], maxBuffer: 1 << 28 })
  .trimEnd().split("\n").slice(1);

// Straight through, checksums included.
const reader = new McapStreamReader({ validateCrcs: true });
reader.append(bytes);
const channels = new Map(), schemas = new Map(), messages = [], kinds = {};
let dataCrc = 0;
for (let record; (record = reader.nextRecord());) {
  kinds[record.type] = (kinds[record.type] ?? 0) + 1;
  if (record.type === "Schema") schemas.set(record.id, record);
  if (record.type === "Channel") channels.set(record.id, record);
  if (record.type === "DataEnd") dataCrc = record.dataSectionCrc;
  if (record.type === "Message") messages.push({ ...record, data: record.data.slice() });
}
const topicOf = (message) => channels.get(message.channelId).topic;
const text = new TextDecoder();
messages.forEach((message, i) => assert(i === 0 || messages[i - 1].logTime <= message.logTime, "in order"));
for (const id of channels.keys()) {
  const sequences = messages.filter((message) => message.channelId === id).map((message) => message.sequence);
  sequences.forEach((sequence, i) => assert.equal(sequence, i, "none is lost"));
}

// Every message by its schema.
const readers = new Map();
for (const { id, topic, messageEncoding, schemaId } of channels.values()) {
  const { encoding, data, name } = schemas.get(schemaId);
  if (messageEncoding === "cdr") {
    assert.equal(encoding, "ros2msg", name);
    const reader = new MessageReader(parse(text.decode(data), { ros2: true }));
    readers.set(id, (message) => reader.readMessage(message.data));
  } else {
    assert.equal(encoding, "jsonschema", topic);
    const schema = JSON.parse(text.decode(data));
    readers.set(id, (message) => {
      const value = JSON.parse(text.decode(message.data));
      for (const member of schema.required) assert(member in value, `${topic} has ${member}`);
      for (const member in value) assert(member in schema.properties, `${member} of ${topic} is in the schema`);
      return value;
    });
  }
}
const of = (topic) => messages.filter((message) => topicOf(message) === topic)
  .map((message) => ({ ...message, value: readers.get(message.channelId)(message) }));
const states = of("/joint_states"), wire = of("/wire"), events = of("/events"), descriptions = of("/robot_description");

const joints = model === "47" ? 7 : 6;
const names = Array.from({ length: joints }, (_, i) => `joint_${i + 1}`);
assert(states.length > 20 && wire.length > 4 && events.length > 0);
assert.equal(descriptions.length, 1);
for (const name of names) assert(descriptions[0].value.data.includes(`"${name}"`), `the description has ${name}`);
for (const { value, logTime, publishTime } of states) {
  assert.deepEqual(value.name, names);
  assert.equal(value.position.length, joints);
  assert.equal(value.velocity.length + value.effort.length, 0);
  assert.equal(BigInt(value.header.stamp.sec) * 1_000_000_000n + BigInt(value.header.stamp.nanosec), publishTime);
  assert(publishTime <= logTime && logTime - publishTime < 1_000_000_000n, "a state is from just before");
}
const degrees = (state) => state.value.position.map((angle) => (angle * 180) / Math.PI);
assert(states.some((state) => Math.abs(degrees(state)[0] - degrees(states[0])[0]) > 1), "the arm has moved");

// The angles are those that the controller says on the wire: who asks for states records each answer; from inside the
// arm is seen again and again, and an answer lies within what was seen from before it was asked until after it was told.
const asked = ({ client }, i) => wire.slice(0, i).findLast(({ value }) => value.client === client && value.request).logTime;
const said = wire.flatMap(({ logTime, value }, i) => value.reply?.arm_state ?
  [{ asked: asked(value, i), told: logTime, joint: value.reply.arm_state.joint }] : []);
assert(said.length > 0);
if (from === "outside") {
  assert.equal(said.length, states.length);
  states.forEach((state, i) => degrees(state).forEach((angle, j) =>
    assert(Math.abs(1000 * angle - said[i].joint[j]) < 0.01, `state ${i}, joint ${j + 1}: ${angle}, ${said[i].joint}`)));
} else {
  for (const { asked, told, joint } of said) {
    const before = states.findLastIndex((state) => state.logTime < asked), after = states.findIndex((state) => state.logTime > told);
    if (before < 0 || after < 0) continue;
    const seen = states.slice(before, after + 1).map(degrees);
    joint.forEach((angle, j) => {
      const angles = seen.map((state) => state[j]);
      assert(angle / 1000 > Math.min(...angles) - 0.001 && angle / 1000 < Math.max(...angles) + 0.001,
        `joint ${j + 1}: ${angle}, not within ${angles}`);
    });
  }
}

// kx exports the same.
const csv = exported("--csv");
assert.equal(csv.length, states.length);
csv.forEach((line, i) => {
  const [time, ...angles] = line.split(",");
  assert.equal(BigInt(time.replace(".", "")), states[i].publishTime);
  degrees(states[i]).forEach((angle, j) => assert(Math.abs(angle - Number(angles[j])) < 1e-6));
});
const lines = messages.filter((message) => ["/wire", "/events"].includes(topicOf(message)));
assert.deepEqual(exported("--json").map((line) => {
  const { time, ...rest } = JSON.parse(line);
  assert(time >= 0);
  return rest;
}), lines.map((message) => JSON.parse(text.decode(message.data))));

if (state === "--unfinished") {
  assert(!reader.done() && !kinds.Footer, "nobody has finished it");
} else {
  assert(reader.done());
  assert.notEqual(dataCrc, 0, "a checksum of all data");

  // By the indexes.
  const indexed = await McapIndexedReader.Initialize({
    readable: { size: async () => BigInt(bytes.length), read: async (at, length) => bytes.subarray(Number(at), Number(at + length)) },
  });
  const statistics = indexed.statistics;
  assert.equal(statistics.messageCount, BigInt(messages.length));
  assert.equal(statistics.chunkCount, kinds.Chunk ?? indexed.chunkIndexes.length);
  assert.equal(statistics.messageStartTime, messages[0].logTime);
  assert.equal(statistics.messageEndTime, messages.at(-1).logTime);
  for (const id of channels.keys())
    assert.equal(statistics.channelMessageCounts.get(id), BigInt(messages.filter((message) => message.channelId === id).length));
  const key = ({ channelId, sequence, logTime, data }) => `${channelId} ${sequence} ${logTime} ${text.decode(data)}`;
  const startTime = messages[Math.floor(messages.length / 3)].logTime, endTime = messages[Math.floor((2 * messages.length) / 3)].logTime;
  for (const topics of [undefined, ["/joint_states"], ["/wire", "/events"]]) {
    const found = [];
    for await (const message of indexed.readMessages({ topics, startTime, endTime })) found.push(key(message));
    const expected = messages.filter((message) => message.logTime >= startTime && message.logTime <= endTime &&
      (!topics || topics.includes(topicOf(message)))).map(key);
    assert.deepEqual(found.sort(), expected.sort(), `${topics} in a range of time`);
  }
}
console.log(`${file}: ${messages.length} messages, ${states.length} states, ${wire.length} lines, ${events.length} events`);
