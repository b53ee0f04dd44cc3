"""What each record consists of. Written by tools/write_baselines, as schemas/ are.

Room: python. _record.py says what the members' kinds are.
"""

from typing import ClassVar

from ._record import (Message, Record, Words, byte_vector, embedded, octets, record, u8, u16, u32,
                      vector, words)


@record
class feiBrokerFib6_ipv6Fwd(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: Words = words(4)
    f4: int = u8()
    f5: int = u8()
    f6: int = u16()
    f7: int = u32()
    f8: int = u32()
    f9: int = u32()
    f10: int = u32()
    f11: int = u16()
    f12: int = u16()
    f13: int = u32()


@record
class feiBrokerFib6_ipv6FwdUpdateMsg(Message):
    ID: ClassVar[int] = 0x5026A923
    f0: int = u32()
    f1: list[feiBrokerFib6_ipv6Fwd] = vector(feiBrokerFib6_ipv6Fwd)


@record
class feiBrokerFib6_ipv6FwdKey(Record):
    f0: int = u32()
    f1: int = u32()
    f2: Words = words(4)
    f3: int = u8()
    f4: bytes = octets(3)


@record
class feiBrokerFib6_ipv6FwdDelMsg(Message):
    ID: ClassVar[int] = 0x0B394879
    f0: int = u32()
    f1: list[feiBrokerFib6_ipv6FwdKey] = vector(feiBrokerFib6_ipv6FwdKey)


@record
class feiBrokerFib6_nhp6Group(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()


@record
class feiBrokerFib6_nhp6GroupNode(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u32()
    f6: int = u32()
    f7: int = u32()
    f8: int = u32()
    f9: int = u32()


@record
class feiBrokerFib6_nhp6GroupUpdateMsg(Message):
    ID: ClassVar[int] = 0x12BA2120
    f0: int = u32()
    f1: feiBrokerFib6_nhp6Group = embedded(feiBrokerFib6_nhp6Group)
    f2: list[feiBrokerFib6_nhp6GroupNode] = vector(feiBrokerFib6_nhp6GroupNode)


@record
class feiBrokerFib6_nhp6GroupKey(Record):
    f0: int = u32()
    f1: int = u32()


@record
class feiBrokerFib6_nhp6GroupDelMsg(Message):
    ID: ClassVar[int] = 0xE0BBBCA0
    f0: int = u32()
    f1: list[feiBrokerFib6_nhp6GroupKey] = vector(feiBrokerFib6_nhp6GroupKey)


@record
class feiBrokerFib6_nhp6(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: Words = words(4)
    f5: int = u16()
    f6: int = u8()
    f7: int = u8()
    f8: int = u32()
    f9: int = u32()


@record
class feiBrokerFib6_nhp6Std(Record):
    f0: int = u32()
    f1: Words = words(4)
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u32()
    f6: int = u32()
    f7: int = u32()
    f8: int = u32()


@record
class feiBrokerFib6_nhp6Ext(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u32()
    f6: int = u8()
    f7: bytes = octets(3)


@record
class feiBrokerFib6_nhp6Vpn(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()


@record
class feiBrokerFib6_nhp6Vxlan(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u8()
    f5: bytes = octets(3)
    f6: int = u16()
    f7: bytes = octets(6)
    f8: int = u32()
    f9: int = u32()
    f10: int = u32()
    f11: int = u8()
    f12: Words = words(4)


@record
class feiBrokerFib6_nhp6VpnSid(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: Words = words(4)
    f5: Words = words(4)
    f6: Words = words(4)
    f7: int = u8()
    f8: int = u8()
    f9: int = u8()
    f10: int = u8()
    f11: int = u32()


@record
class feiBrokerFib6_nhp6Pp6ExtSrv6Te(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: Words = words(4)
    f5: int = u8()
    f6: int = u8()
    f7: int = u32()
    f8: int = u32()


@record
class feiBrokerFib6_nhp6UpdateMsg(Message):
    ID: ClassVar[int] = 0x5FFC4D23
    f0: int = u32()
    f1: feiBrokerFib6_nhp6 = embedded(feiBrokerFib6_nhp6)
    f2: list[feiBrokerFib6_nhp6Std] = vector(feiBrokerFib6_nhp6Std)
    f3: list[feiBrokerFib6_nhp6Ext] = vector(feiBrokerFib6_nhp6Ext)
    f4: list[feiBrokerFib6_nhp6Vpn] = vector(feiBrokerFib6_nhp6Vpn)
    f5: list[feiBrokerFib6_nhp6Vxlan] = vector(feiBrokerFib6_nhp6Vxlan)
    f6: list[feiBrokerFib6_nhp6VpnSid] = vector(feiBrokerFib6_nhp6VpnSid)
    f7: list[feiBrokerFib6_nhp6Pp6ExtSrv6Te] = vector(feiBrokerFib6_nhp6Pp6ExtSrv6Te)


@record
class feiBrokerFib6_nhp6Key(Record):
    f0: int = u32()


@record
class feiBrokerFib6_nhp6DelMsg(Message):
    ID: ClassVar[int] = 0xEE8FB479
    f0: int = u32()
    f1: list[feiBrokerFib6_nhp6Key] = vector(feiBrokerFib6_nhp6Key)


@record
class feiBrokerFib6_srv6SrList(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u16()
    f3: int = u16()
    f4: Words = words(4)
    f5: Words = words(4)
    f6: Words = words(4)
    f7: Words = words(4)
    f8: Words = words(4)
    f9: Words = words(4)
    f10: Words = words(4)
    f11: Words = words(4)
    f12: Words = words(4)
    f13: Words = words(4)
    f14: int = u8()
    f15: int = u32()
    f16: int = u32()


@record
class feiBrokerFib6_srv6SrListUpdateMsg(Message):
    ID: ClassVar[int] = 0x44FD956B
    f0: int = u32()
    f1: list[feiBrokerFib6_srv6SrList] = vector(feiBrokerFib6_srv6SrList)


@record
class feiBrokerFib6_srv6SrListKey(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u16()


@record
class feiBrokerFib6_srv6SrListDelMsg(Message):
    ID: ClassVar[int] = 0x03FB3FE1
    f0: int = u32()
    f1: list[feiBrokerFib6_srv6SrListKey] = vector(feiBrokerFib6_srv6SrListKey)


@record
class feiBrokerFib6_ipv6PathMtu(Record):
    f0: int = u32()
    f1: int = u32()
    f2: Words = words(4)
    f3: int = u32()
    f4: int = u32()


@record
class feiBrokerFib6_ipv6PathMtuUpdateMsg(Message):
    ID: ClassVar[int] = 0x08C4DDE3
    f0: int = u32()
    f1: list[feiBrokerFib6_ipv6PathMtu] = vector(feiBrokerFib6_ipv6PathMtu)


@record
class feiBrokerFib6_ipv6PathMtuKey(Record):
    f0: int = u32()
    f1: int = u32()
    f2: Words = words(4)


@record
class feiBrokerFib6_ipv6PathMtuDelMsg(Message):
    ID: ClassVar[int] = 0x6718B739
    f0: int = u32()
    f1: list[feiBrokerFib6_ipv6PathMtuKey] = vector(feiBrokerFib6_ipv6PathMtuKey)


@record
class feiBrokerFib6_pidState(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()


@record
class feiBrokerFib6_pidStateMsg(Message):
    ID: ClassVar[int] = 0x2DAF16C2
    f0: int = u32()
    f1: feiBrokerFib6_pidState = embedded(feiBrokerFib6_pidState)


@record
class feiBrokerFib6_classItem(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u8()


@record
class feiBrokerFib6_classItemMsg(Message):
    ID: ClassVar[int] = 0x9D4AD197
    f0: int = u32()
    f1: feiBrokerFib6_classItem = embedded(feiBrokerFib6_classItem)


@record
class feiBrokerFib6_vrfClassState(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u32()


@record
class feiBrokerFib6_vrfClassStateMsg(Message):
    ID: ClassVar[int] = 0x4E636B47
    f0: int = u32()
    f1: feiBrokerFib6_vrfClassState = embedded(feiBrokerFib6_vrfClassState)


@record
class feiBrokerFib6_vrfClassData(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u32()
    f6: int = u8()


@record
class feiBrokerFib6_vrfClassDataMsg(Message):
    ID: ClassVar[int] = 0x2646ACE6
    f0: int = u32()
    f1: feiBrokerFib6_vrfClassData = embedded(feiBrokerFib6_vrfClassData)


@record
class feiBrokerFib6_lrClassDataMsg(Message):
    ID: ClassVar[int] = 0x36A0ECDC
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()


@record
class feiBrokerFib6_loadBalanceMode(Message):
    ID: ClassVar[int] = 0x0D2C457A
    f0: int = u32()
    f1: int = u32()
    f2: int = u8()
    f3: int = u8()
    f4: int = u8()
    f5: int = u8()
    f6: int = u8()


@record
class feiBrokerFib6_loadBalanceReverse(Message):
    ID: ClassVar[int] = 0x2555943D
    f0: int = u32()
    f1: int = u32()
    f2: int = u8()


@record
class feiBrokerFib6_dod_enable(Message):
    ID: ClassVar[int] = 0x877476E0
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()


@record
class feiBrokerFib6_dod_rule(Message):
    ID: ClassVar[int] = 0x7EA01FE9
    f0: int = u16()
    f1: int = u32()
    f2: int = u32()
    f3: Words = words(4)
    f4: int = u8()


@record
class feiBrokerFib6_dod_aging(Message):
    ID: ClassVar[int] = 0x89D66519
    f0: int = u16()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u32()


@record
class feiBrokerFib6_special_ip(Message):
    ID: ClassVar[int] = 0xD001F332
    f0: int = u16()
    f1: int = u32()
    f2: int = u8()
    f3: int = u8()


@record
class fib6_cfg_query_comm_param(Record):
    f0: int = u32()
    f1: int = u32()
    f2: bytes = byte_vector()


@record
class fib6_cfg_query_fib6_cond(Record):
    f0: int = u32()
    f1: Words = words(4)
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u8()
    f6: int = u8()
    f7: int = u16()
    f8: int = u32()


@record
class fib6_cfg_query_fib6_key(Message):
    ID: ClassVar[int] = 0x727C4D11
    f0: fib6_cfg_query_comm_param = embedded(fib6_cfg_query_comm_param)
    f1: fib6_cfg_query_fib6_cond = embedded(fib6_cfg_query_fib6_cond)


@record
class fib6_cfg_query_comm_rec(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: bytes = byte_vector()


@record
class fib6_cfg_query_fib6_item(Record):
    f0: Words = words(4)
    f1: Words = words(4)
    f2: Words = words(4)
    f3: int = u32()
    f4: int = u32()
    f5: int = u8()
    f6: int = u8()
    f7: int = u8()
    f8: int = u8()
    f9: int = u32()
    f10: int = u32()
    f11: int = u32()
    f12: int = u32()
    f13: int = u32()
    f14: int = u32()
    f15: int = u32()
    f16: bytes = octets(8)
    f17: int = u32()
    f18: int = u32()
    f19: Words = words(4)
    f20: Words = words(4)


@record
class fib6_cfg_query_fib6_rec(Message):
    ID: ClassVar[int] = 0x8B27C60C
    f0: fib6_cfg_query_comm_rec = embedded(fib6_cfg_query_comm_rec)
    f1: list[fib6_cfg_query_fib6_item] = vector(fib6_cfg_query_fib6_item)


@record
class fib6_cfg_query_dfx_cond(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()


@record
class fib6_cfg_query_dfx_key(Message):
    ID: ClassVar[int] = 0x244EBB6A
    f0: fib6_cfg_query_comm_param = embedded(fib6_cfg_query_comm_param)
    f1: fib6_cfg_query_dfx_cond = embedded(fib6_cfg_query_dfx_cond)


@record
class fib6_cfg_query_dfx_item(Record):
    f0: int = u32()
    f1: bytes = octets(50)
    f2: int = u32()
    f3: bytes = octets(32)
    f4: bytes = octets(32)
    f5: bytes = octets(32)
    f6: int = u32()


@record
class fib6_cfg_query_dfx_rec(Message):
    ID: ClassVar[int] = 0x3ACCEBF3
    f0: fib6_cfg_query_comm_rec = embedded(fib6_cfg_query_comm_rec)
    f1: list[fib6_cfg_query_dfx_item] = vector(fib6_cfg_query_dfx_item)


@record
class fib6_cfg_cfg_ipv6_ttl_expired_forward(Message):
    ID: ClassVar[int] = 0x863B570C
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: Words = words(4)


@record
class fib6_cfg_query_fib6check_cond(Record):
    f0: int = u32()
    f1: int = u32()
    f2: Words = words(4)


@record
class fib6_cfg_query_fib6check_key(Message):
    ID: ClassVar[int] = 0x6C0280B3
    f0: fib6_cfg_query_comm_param = embedded(fib6_cfg_query_comm_param)
    f1: fib6_cfg_query_fib6check_cond = embedded(fib6_cfg_query_fib6check_cond)


@record
class fib6_cfg_query_fib6check_item(Record):
    f0: int = u32()
    f1: int = u8()
    f2: Words = words(64)


@record
class fib6_cfg_query_fib6check_rec(Message):
    ID: ClassVar[int] = 0xDD6EF182
    f0: fib6_cfg_query_comm_rec = embedded(fib6_cfg_query_comm_rec)
    f1: fib6_cfg_query_fib6check_item = embedded(fib6_cfg_query_fib6check_item)


@record
class fib6Sync_tlv(Record):
    f0: int = u32()
    f1: int = u32()


@record
class fib6Sync_svcCtxMsg(Message):
    ID: ClassVar[int] = 0x43B81539
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: Words = words(8)


@record
class fib6Sync_ipv6Fwd(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: Words = words(4)
    f4: int = u8()
    f5: int = u8()
    f6: int = u16()
    f7: int = u32()
    f8: int = u32()
    f9: int = u32()
    f10: int = u32()
    f11: int = u16()
    f12: int = u16()
    f13: int = u32()
    f14: int = u8()


@record
class fib6Sync_ipv6FwdUpdateMsg(Message):
    ID: ClassVar[int] = 0x48CDB5CB
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_ipv6Fwd = embedded(fib6Sync_ipv6Fwd)


@record
class fib6Sync_ipv6FwdKey(Record):
    f0: int = u32()
    f1: int = u32()
    f2: Words = words(4)
    f3: int = u8()
    f4: bytes = octets(3)


@record
class fib6Sync_ipv6FwdDelMsg(Message):
    ID: ClassVar[int] = 0x20B86741
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_ipv6FwdKey = embedded(fib6Sync_ipv6FwdKey)


@record
class fib6Sync_nhp6Group(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()


@record
class fib6Sync_nhp6GroupUpdateMsg(Message):
    ID: ClassVar[int] = 0x27313708
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6Group = embedded(fib6Sync_nhp6Group)


@record
class fib6Sync_nhp6GroupKey(Record):
    f0: int = u32()
    f1: int = u32()


@record
class fib6Sync_nhp6GroupDelMsg(Message):
    ID: ClassVar[int] = 0xA67F1088
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6GroupKey = embedded(fib6Sync_nhp6GroupKey)


@record
class fib6Sync_nhp6GroupNode(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u32()
    f6: int = u32()
    f7: int = u32()
    f8: int = u32()
    f9: int = u32()


@record
class fib6Sync_nhp6GroupNodeUpdateMsg(Message):
    ID: ClassVar[int] = 0x89EA08AC
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6GroupNode = embedded(fib6Sync_nhp6GroupNode)


@record
class fib6Sync_nhp6GroupNodeKey(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u32()
    f6: int = u32()


@record
class fib6Sync_nhp6GroupNodeDelMsg(Message):
    ID: ClassVar[int] = 0x368222CC
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6GroupNodeKey = embedded(fib6Sync_nhp6GroupNodeKey)


@record
class fib6Sync_nhp6(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: Words = words(4)
    f5: int = u16()
    f6: int = u8()
    f7: int = u8()
    f8: int = u32()
    f9: int = u32()


@record
class fib6Sync_nhp6UpdateMsg(Message):
    ID: ClassVar[int] = 0x44477C2B
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6 = embedded(fib6Sync_nhp6)


@record
class fib6Sync_nhp6Key(Record):
    f0: int = u32()


@record
class fib6Sync_nhp6DelMsg(Message):
    ID: ClassVar[int] = 0x05D162A1
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6Key = embedded(fib6Sync_nhp6Key)


@record
class fib6Sync_nhp6Std(Record):
    f0: int = u32()
    f1: Words = words(4)
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u32()
    f6: int = u32()
    f7: int = u32()
    f8: int = u32()
    f9: int = u32()


@record
class fib6Sync_nhp6StdUpdateMsg(Message):
    ID: ClassVar[int] = 0xD2D6370A
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6Std = embedded(fib6Sync_nhp6Std)


@record
class fib6Sync_nhp6StdKey(Record):
    f0: int = u32()
    f1: Words = words(4)
    f2: int = u32()


@record
class fib6Sync_nhp6StdDelMsg(Message):
    ID: ClassVar[int] = 0x20959026
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6StdKey = embedded(fib6Sync_nhp6StdKey)


@record
class fib6Sync_nhp6Ext(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u8()
    f6: int = u32()


@record
class fib6Sync_nhp6ExtUpdateMsg(Message):
    ID: ClassVar[int] = 0xA1DBFFBC
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6Ext = embedded(fib6Sync_nhp6Ext)


@record
class fib6Sync_nhp6Vpn(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()


@record
class fib6Sync_nhp6VpnUpdateMsg(Message):
    ID: ClassVar[int] = 0xAA706A55
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6Vpn = embedded(fib6Sync_nhp6Vpn)


@record
class fib6Sync_nhp6Vxlan(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u32()
    f6: int = u32()
    f7: int = u16()
    f8: bytes = octets(6)
    f9: int = u8()
    f10: bytes = octets(3)
    f11: int = u32()
    f12: int = u8()
    f13: Words = words(4)


@record
class fib6Sync_nhp6VxlanUpdateMsg(Message):
    ID: ClassVar[int] = 0x1D511A2A
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6Vxlan = embedded(fib6Sync_nhp6Vxlan)


@record
class fib6Sync_nhp6VpnSid(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: Words = words(4)
    f5: Words = words(4)
    f6: Words = words(4)
    f7: int = u8()
    f8: int = u8()
    f9: int = u8()
    f10: int = u8()
    f11: int = u32()
    f12: Words = words(8)


@record
class fib6Sync_nhp6VpnSidUpdateMsg(Message):
    ID: ClassVar[int] = 0xB2CFE153
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6VpnSid = embedded(fib6Sync_nhp6VpnSid)


@record
class fib6Sync_nhp6ExtSrv6Te(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: Words = words(4)
    f5: int = u8()
    f6: int = u8()
    f7: int = u32()
    f8: int = u32()


@record
class fib6Sync_nhp6ExtSrv6TeUpdateMsg(Message):
    ID: ClassVar[int] = 0x1F17926E
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6ExtSrv6Te = embedded(fib6Sync_nhp6ExtSrv6Te)


@record
class fib6Sync_ipv6PathMtu(Record):
    f0: int = u32()
    f1: int = u32()
    f2: Words = words(4)
    f3: int = u32()
    f4: int = u32()


@record
class fib6Sync_ipv6PathMtuUpdateMsg(Message):
    ID: ClassVar[int] = 0xB893ECAB
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_ipv6PathMtu = embedded(fib6Sync_ipv6PathMtu)


@record
class fib6Sync_ipv6PathMtuKey(Record):
    f0: int = u32()
    f1: int = u32()
    f2: Words = words(4)


@record
class fib6Sync_ipv6PathMtuDelMsg(Message):
    ID: ClassVar[int] = 0xCD5FE421
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_ipv6PathMtuKey = embedded(fib6Sync_ipv6PathMtuKey)


@record
class fib6Sync_balanceModeData(Record):
    f0: int = u8()
    f1: int = u8()
    f2: int = u8()
    f3: int = u8()
    f4: int = u8()


@record
class fib6Sync_loadBalanceMode(Message):
    ID: ClassVar[int] = 0xE0A34E72
    f0: int = u32()
    f1: int = u16()
    f2: fib6Sync_balanceModeData = embedded(fib6Sync_balanceModeData)


@record
class fib6Sync_balanceReverseData(Record):
    f0: int = u8()


@record
class fib6Sync_loadBalanceReverse(Message):
    ID: ClassVar[int] = 0x29F980E5
    f0: int = u32()
    f1: int = u16()
    f2: fib6Sync_balanceReverseData = embedded(fib6Sync_balanceReverseData)


@record
class fib6Sync_ecmpCfg(Message):
    ID: ClassVar[int] = 0xB9FA4070
    f0: int = u16()
    f1: int = u32()
    f2: fib6Sync_balanceModeData = embedded(fib6Sync_balanceModeData)
    f3: fib6Sync_balanceReverseData = embedded(fib6Sync_balanceReverseData)


@record
class fib6Sync_dod_enable_data(Record):
    f0: int = u32()


@record
class fib6Sync_dod_enable(Message):
    ID: ClassVar[int] = 0x0055A568
    f0: int = u32()
    f1: int = u32()
    f2: fib6Sync_dod_enable_data = embedded(fib6Sync_dod_enable_data)


@record
class fib6Sync_glbCfg(Message):
    ID: ClassVar[int] = 0xB86E5320
    f0: int = u32()
    f1: int = u32()
    f2: fib6Sync_dod_enable_data = embedded(fib6Sync_dod_enable_data)


@record
class fib6Sync_srv6SrList(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u16()
    f4: int = u8()
    f5: int = u16()
    f6: Words = words(4)
    f7: Words = words(4)
    f8: Words = words(4)
    f9: Words = words(4)
    f10: Words = words(4)
    f11: Words = words(4)
    f12: Words = words(4)
    f13: Words = words(4)
    f14: Words = words(4)
    f15: Words = words(4)
    f16: int = u32()


@record
class fib6Sync_srv6SrListUpdateMsg(Message):
    ID: ClassVar[int] = 0xE63E88D3
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_srv6SrList = embedded(fib6Sync_srv6SrList)


@record
class fib6Sync_srv6SrListKey(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u16()


@record
class fib6Sync_srv6SrListDelMsg(Message):
    ID: ClassVar[int] = 0x1045D0A9
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_srv6SrListKey = embedded(fib6Sync_srv6SrListKey)


@record
class fib6Sync_nhp6_ext_label(Record):
    f0: int = u32()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u32()
    f6: int = u32()
    f7: int = u32()
    f8: int = u32()
    f9: Words = words(4)
    f10: Words = words(4)


@record
class fib6Sync_nhp6_ext_label_update_data(Message):
    ID: ClassVar[int] = 0x2EE805D3
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_nhp6_ext_label = embedded(fib6Sync_nhp6_ext_label)


@record
class fib6Sync_dod_rule(Message):
    ID: ClassVar[int] = 0x0863B261
    f0: int = u16()
    f1: int = u32()
    f2: int = u32()
    f3: Words = words(4)
    f4: int = u8()


@record
class fib6Sync_dod_aging(Message):
    ID: ClassVar[int] = 0x17073BB1
    f0: int = u16()
    f1: int = u32()
    f2: int = u32()
    f3: int = u32()
    f4: int = u32()
    f5: int = u32()


@record
class fib6Sync_special_ip(Message):
    ID: ClassVar[int] = 0x48FCFCFA
    f0: int = u16()
    f1: int = u32()
    f2: int = u8()
    f3: int = u8()


@record
class fib6Sync_specialIpData(Record):
    f0: int = u32()
    f1: int = u8()
    f2: int = u8()


@record
class fib6Sync_specialIpUpdateMsg(Message):
    ID: ClassVar[int] = 0xA81DEDDB
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_specialIpData = embedded(fib6Sync_specialIpData)


@record
class fib6Sync_specialIpKey(Record):
    f0: int = u32()


@record
class fib6Sync_specialIpDeleteMsg(Message):
    ID: ClassVar[int] = 0x6DE1A2B5
    f0: fib6Sync_tlv = embedded(fib6Sync_tlv)
    f1: fib6Sync_specialIpKey = embedded(fib6Sync_specialIpKey)


__all__ = [
    "feiBrokerFib6_ipv6Fwd",
    "feiBrokerFib6_ipv6FwdUpdateMsg",
    "feiBrokerFib6_ipv6FwdKey",
    "feiBrokerFib6_ipv6FwdDelMsg",
    "feiBrokerFib6_nhp6Group",
    "feiBrokerFib6_nhp6GroupNode",
    "feiBrokerFib6_nhp6GroupUpdateMsg",
    "feiBrokerFib6_nhp6GroupKey",
    "feiBrokerFib6_nhp6GroupDelMsg",
    "feiBrokerFib6_nhp6",
    "feiBrokerFib6_nhp6Std",
    "feiBrokerFib6_nhp6Ext",
    "feiBrokerFib6_nhp6Vpn",
    "feiBrokerFib6_nhp6Vxlan",
    "feiBrokerFib6_nhp6VpnSid",
    "feiBrokerFib6_nhp6Pp6ExtSrv6Te",
    "feiBrokerFib6_nhp6UpdateMsg",
    "feiBrokerFib6_nhp6Key",
    "feiBrokerFib6_nhp6DelMsg",
    "feiBrokerFib6_srv6SrList",
    "feiBrokerFib6_srv6SrListUpdateMsg",
    "feiBrokerFib6_srv6SrListKey",
    "feiBrokerFib6_srv6SrListDelMsg",
    "feiBrokerFib6_ipv6PathMtu",
    "feiBrokerFib6_ipv6PathMtuUpdateMsg",
    "feiBrokerFib6_ipv6PathMtuKey",
    "feiBrokerFib6_ipv6PathMtuDelMsg",
    "feiBrokerFib6_pidState",
    "feiBrokerFib6_pidStateMsg",
    "feiBrokerFib6_classItem",
    "feiBrokerFib6_classItemMsg",
    "feiBrokerFib6_vrfClassState",
    "feiBrokerFib6_vrfClassStateMsg",
    "feiBrokerFib6_vrfClassData",
    "feiBrokerFib6_vrfClassDataMsg",
    "feiBrokerFib6_lrClassDataMsg",
    "feiBrokerFib6_loadBalanceMode",
    "feiBrokerFib6_loadBalanceReverse",
    "feiBrokerFib6_dod_enable",
    "feiBrokerFib6_dod_rule",
    "feiBrokerFib6_dod_aging",
    "feiBrokerFib6_special_ip",
    "fib6_cfg_query_comm_param",
    "fib6_cfg_query_fib6_cond",
    "fib6_cfg_query_fib6_key",
    "fib6_cfg_query_comm_rec",
    "fib6_cfg_query_fib6_item",
    "fib6_cfg_query_fib6_rec",
    "fib6_cfg_query_dfx_cond",
    "fib6_cfg_query_dfx_key",
    "fib6_cfg_query_dfx_item",
    "fib6_cfg_query_dfx_rec",
    "fib6_cfg_cfg_ipv6_ttl_expired_forward",
    "fib6_cfg_query_fib6check_cond",
    "fib6_cfg_query_fib6check_key",
    "fib6_cfg_query_fib6check_item",
    "fib6_cfg_query_fib6check_rec",
    "fib6Sync_tlv",
    "fib6Sync_svcCtxMsg",
    "fib6Sync_ipv6Fwd",
    "fib6Sync_ipv6FwdUpdateMsg",
    "fib6Sync_ipv6FwdKey",
    "fib6Sync_ipv6FwdDelMsg",
    "fib6Sync_nhp6Group",
    "fib6Sync_nhp6GroupUpdateMsg",
    "fib6Sync_nhp6GroupKey",
    "fib6Sync_nhp6GroupDelMsg",
    "fib6Sync_nhp6GroupNode",
    "fib6Sync_nhp6GroupNodeUpdateMsg",
    "fib6Sync_nhp6GroupNodeKey",
    "fib6Sync_nhp6GroupNodeDelMsg",
    "fib6Sync_nhp6",
    "fib6Sync_nhp6UpdateMsg",
    "fib6Sync_nhp6Key",
    "fib6Sync_nhp6DelMsg",
    "fib6Sync_nhp6Std",
    "fib6Sync_nhp6StdUpdateMsg",
    "fib6Sync_nhp6StdKey",
    "fib6Sync_nhp6StdDelMsg",
    "fib6Sync_nhp6Ext",
    "fib6Sync_nhp6ExtUpdateMsg",
    "fib6Sync_nhp6Vpn",
    "fib6Sync_nhp6VpnUpdateMsg",
    "fib6Sync_nhp6Vxlan",
    "fib6Sync_nhp6VxlanUpdateMsg",
    "fib6Sync_nhp6VpnSid",
    "fib6Sync_nhp6VpnSidUpdateMsg",
    "fib6Sync_nhp6ExtSrv6Te",
    "fib6Sync_nhp6ExtSrv6TeUpdateMsg",
    "fib6Sync_ipv6PathMtu",
    "fib6Sync_ipv6PathMtuUpdateMsg",
    "fib6Sync_ipv6PathMtuKey",
    "fib6Sync_ipv6PathMtuDelMsg",
    "fib6Sync_balanceModeData",
    "fib6Sync_loadBalanceMode",
    "fib6Sync_balanceReverseData",
    "fib6Sync_loadBalanceReverse",
    "fib6Sync_ecmpCfg",
    "fib6Sync_dod_enable_data",
    "fib6Sync_dod_enable",
    "fib6Sync_glbCfg",
    "fib6Sync_srv6SrList",
    "fib6Sync_srv6SrListUpdateMsg",
    "fib6Sync_srv6SrListKey",
    "fib6Sync_srv6SrListDelMsg",
    "fib6Sync_nhp6_ext_label",
    "fib6Sync_nhp6_ext_label_update_data",
    "fib6Sync_dod_rule",
    "fib6Sync_dod_aging",
    "fib6Sync_special_ip",
    "fib6Sync_specialIpData",
    "fib6Sync_specialIpUpdateMsg",
    "fib6Sync_specialIpKey",
    "fib6Sync_specialIpDeleteMsg",
]
