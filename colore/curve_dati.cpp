namespace varno {
}  // namespace varno
